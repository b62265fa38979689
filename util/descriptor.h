/// What every descriptor that stays open needs.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace KORVA {

/// Moves a new descriptor off the numbers of the standard streams: in a program that was started
/// with one of them closed, whatever is printed would go into the device or the connection. Gives
/// -1 and errno, with the descriptor closed, when there is no other number; -1 stays -1.
[[nodiscard]] inline int aboveStandardStreams(int descriptor)
{
    if (descriptor < 0 || descriptor > STDERR_FILENO)
        return descriptor;
    int const moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    int const error = errno;
    close(descriptor);
    errno = error;
    return moved;
}

/// A descriptor with one owner; -1 is none.
class OwnedDescriptor
{
public:
    explicit OwnedDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~OwnedDescriptor() { reset(); }
    OwnedDescriptor(OwnedDescriptor const&) = delete;
    OwnedDescriptor& operator=(OwnedDescriptor const&) = delete;

    int get() const { return m_descriptor; }

    /// Hands the descriptor over.
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }

    void reset(int descriptor = -1)
    {
        int const previous = std::exchange(m_descriptor, descriptor);
        if (previous != -1)
            close(previous);
    }

private:
    int m_descriptor;
};

} // namespace KORVA
