/// Runs code that may crash, hang or end the process, in processes of its own.
#pragma once

#include "tools/dtcctl/adapter_check/library.h"
#include "tools/dtcctl/support/failure.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <new>
#include <string>
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

/// The way from one side of a check to the other: each proceed() of one side lets one await() of
/// the other return. When the other has ended both end this side.
class Peer
{
public:
    explicit Peer(int descriptor) : m_descriptor(descriptor) {}

    void proceed();
    void await();

    /// Whether await would return at once.
    bool mayProceed();

private:
    int m_descriptor;
};

/// One side of a check, with a library that it has to load.
using Side = std::function<void(AdapterLibrary&, Peer&)>;

/// Runs each side in a new process until all have ended or the time is over, and ends what is left
/// of them. client may be empty. Standard output of the sides goes to standard error.
Finding runIsolated(Side const& server, Side const& client, std::chrono::milliseconds limit);

} // namespace dtcctl
