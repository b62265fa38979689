/// Waits for the first of several events.
///
/// The events belong to the caller and must outlive the listener. Any thread may call any
/// operation, but only one at a time may be inside Wait; the destructor must not run while another
/// thread is inside one. Only the constructor throws, and only for want of memory.
#pragma once

#include "export.h"
#include "mutex.h"

#include <atomic>
#include <pthread.h>
#include <vector>

namespace KORVA {

class uEvent;

class KORVA_API uEventListener
{
public:
    /// Listens to count events. A null entry counts as an event that is never set; a null array, or
    /// a count of 0 or less, gives a listener over nothing.
    uEventListener(uEvent** events, int count);
    ~uEventListener();
    uEventListener(uEventListener const&) = delete;
    uEventListener& operator=(uEventListener const&) = delete;

    /// Waits at most timeoutMs milliseconds (0xFFFFFFFF: without limit) for one of the events and
    /// consumes it. Returns its index in the array given to the constructor, or -1 on time-out.
    /// When several are set already, the first in order is reported and all of them are cleared.
    /// The limit is a moment on the wall clock, as in uEvent::Wait; as there, the wait can end
    /// before it, without an event, and then returns -1.
    int Wait(unsigned int timeoutMs);

    /// For uEvent::Set alone, which calls it with an event that was given to this listener. Returns
    /// true when a waiting thread takes the event.
    bool WakeUp(uEvent* event);

    /// The index of the first event that is set, or -1. Clears no event.
    int UpdateState();

private:
    void leaveEvents();
    int firstSetEvent() const;
    int lastIndexOf(uEvent const* event) const;
    int consumeSetEvents();

    std::atomic<bool> m_satisfied{false}; ///< Recorded only; UpdateState writes it without m_mutex.
    int m_count;                          ///< Recorded only.
    std::vector<uEvent*> m_events;
    std::atomic<int> m_waiters{0}; ///< WakeUp reads it without m_mutex.
    pthread_cond_t m_condition = PTHREAD_COND_INITIALIZER;
    Mutex m_mutex;
    int m_wokenIndex KORVA_GUARDED_BY(m_mutex) = -1;
};

} // namespace KORVA
