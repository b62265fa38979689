#pragma once

#include "util/descriptor.h"
#include "util/mutex.h"

#include <atomic>
#include <vector>

namespace KORVA::DTC {

/// Wakes the threads that wait inside a connection when it is closed, wherever they wait: in
/// select(2), or in the middle of a message with the connection's lock held. A thread that cannot
/// send because its peer does not read wakes up now and then by itself, to ask isAwake().
///
/// Any thread may call any operation.
class Waker
{
public:
    /// A thread is to leave, rather than wait, once this is true.
    bool isAwake() const { return m_isAwake; }

    /// Threads may wait for the connected socket, from now until it is forgotten, which must happen
    /// before it is closed. False when waking has begun.
    bool watch(int socket);
    void forget(int socket);

    /// Makes a descriptor that becomes readable with the waking, for those who have no socket to
    /// wait for. Throws std::system_error when there is none that select(2) can take.
    void hangBell();
    int bell() const { return m_bell.get(); }

    /// Ends all waits, for good. The peers notice nothing of it.
    void wake();

private:
    std::atomic<bool> m_isAwake{false};
    Mutex m_mutex;
    std::vector<int> m_sockets KORVA_GUARDED_BY(m_mutex);
    OwnedDescriptor m_bell{-1};
};

} // namespace KORVA::DTC
