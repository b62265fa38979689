#pragma once

#include "tools/dtcctl/support/failure.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <type_traits>

namespace dtcctl {

/// A T, zero at first, that processes made by fork share.
template <typename T>
class SharedMemory
{
    static_assert(std::is_trivially_destructible_v<T>, "any of the processes may end at any time");

public:
    SharedMemory()
    {
        void* const memory =
            mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) // NOLINT(performance-no-int-to-ptr)
            throw Failure(std::string("cannot map memory: ") + std::strerror(errno));
        m_object = new (memory) T();
    }
    ~SharedMemory() { munmap(m_object, sizeof(T)); }
    SharedMemory(SharedMemory const&) = delete;
    SharedMemory& operator=(SharedMemory const&) = delete;

    T& operator*() const { return *m_object; }
    T* operator->() const { return m_object; }

private:
    T* m_object;
};

} // namespace dtcctl
