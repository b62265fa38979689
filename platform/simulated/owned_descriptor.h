#pragma once

#include <unistd.h>
#include <utility>

namespace KORVA::DTC::PLATFORM {

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

    void reset()
    {
        if (m_descriptor != -1)
            close(release());
    }

private:
    int m_descriptor;
};

} // namespace KORVA::DTC::PLATFORM
