/// What every descriptor that stays open needs.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

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

} // namespace KORVA
