/// A signalled flag that threads can wait for.
///
/// Any thread may call any operation. Each signal is consumed once, by a wait, by a listener or by
/// Reset, except that one Set releases every thread blocked in Wait at that moment. A Set that
/// meets a thread in Wait tells no listener, even if that thread is just timing out: wait for an
/// event in one way, directly or through listeners. The event must outlive every call, and every
/// uEventListener that was given it. Only AddListener throws, and only for want of memory.
#pragma once

#include "export.h"
#include "mutex.h"
#include "umutex.h"

#include <atomic>
#include <pthread.h>
#include <vector>

namespace KORVA {

class uEventListener;

class KORVA_API uEvent
{
public:
    /// initialState true makes the event set from the start.
    explicit uEvent(bool initialState);
    ~uEvent();
    uEvent(uEvent const&) = delete;
    uEvent& operator=(uEvent const&) = delete;

    /// Waits until the event is set, at most timeoutMs milliseconds (0xFFFFFFFF: without limit),
    /// and clears it. Returns false on time-out, leaving the event as it is. The limit is a moment
    /// on the wall clock: setting the clock moves it. Any wake-up counts, also one without a Set.
    bool Wait(unsigned int timeoutMs);

    /// Sets the event. Threads blocked in Wait all return and consume it; with none, the first
    /// listener that is waiting consumes it; otherwise it stays set. Always true.
    bool Set();

    /// Clears the event. Always true.
    bool Reset();

    bool IsSet() const { return m_state; }

    /// Registers a listener (not null, not owned, duplicates allowed). uEventListener does it for
    /// itself, and undoes that when destroyed; a registration of the caller's own is the caller's
    /// to undo.
    bool AddListener(uEventListener* listener);

    /// Removes the first registration of the listener; false when there is none.
    bool DeleteListener(uEventListener* listener);

private:
    friend class uEventListener;

    /// Clears the event; true when it was set. The one way of consuming a signal.
    bool consume() { return m_state.exchange(false); }
    void offerToListeners() KORVA_REQUIRES(m_mutex);

    std::atomic<bool> m_state;
    int m_waiters KORVA_GUARDED_BY(m_mutex) = 0;
    Mutex m_mutex;
    std::vector<uEventListener*> m_listeners KORVA_GUARDED_BY(m_listenerLock);
    uMutex m_listenerLock;
    pthread_cond_t m_condition = PTHREAD_COND_INITIALIZER;
};

} // namespace KORVA
