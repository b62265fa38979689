#include "util/uevent_listener.h"

#include "util/uevent.h"
#include "util/wait_deadline.h"

#include <sched.h>

namespace KORVA {

uEventListener::uEventListener(uEvent** events, int count) : m_count(count)
{
    if (events != nullptr && m_count > 0)
        m_events.assign(events, events + m_count);
    try {
        for (uEvent* event : m_events) {
            if (event != nullptr)
                event->AddListener(this);
        }
    } catch (...) {
        leaveEvents();
        throw;
    }
}

uEventListener::~uEventListener()
{
    leaveEvents();
    pthread_cond_destroy(&m_condition);
}

void uEventListener::leaveEvents()
{
    for (uEvent* event : m_events) {
        if (event != nullptr)
            event->DeleteListener(this); // false where it was not registered
    }
}

int uEventListener::Wait(unsigned int timeoutMs)
{
    sched_yield();
    MutexGuard const guard(m_mutex);
    // Counted before the scan: a Set that comes after the scan finds this thread and wakes it, one
    // that came before has left its event set for the scan to find.
    WaiterCount const counted(m_waiters);
    m_wokenIndex = -1;
    int index = consumeSetEvents();
    m_satisfied = index >= 0;
    if (index < 0) {
        waitOnCondition(m_condition, m_mutex, timeoutMs);
        index = m_wokenIndex; // -1 unless WakeUp has come, even if the time was over just then
    }
    return index;
}

bool uEventListener::WakeUp(uEvent* event)
{
    if (m_waiters == 0)
        return false;
    MutexGuard const guard(m_mutex);
    // Since the look at m_waiters the thread may have left; and one that has been woken but has not
    // run yet can report only one event. The event then stays set for the next Wait.
    if (m_waiters == 0 || m_wokenIndex >= 0)
        return false;
    bool const isSatisfied = firstSetEvent() >= 0;
    m_satisfied = isSatisfied;
    // Consumed here and not only by Set, which goes on without this lock: the woken thread could
    // wait again and find the same signal a second time.
    if (!isSatisfied || !event->consume())
        return false;
    m_wokenIndex = lastIndexOf(event);
    pthread_cond_broadcast(&m_condition);
    return true;
}

int uEventListener::UpdateState()
{
    int const index = firstSetEvent();
    m_satisfied = index >= 0;
    return index;
}

int uEventListener::firstSetEvent() const
{
    for (std::size_t i = 0; i < m_events.size(); ++i) {
        if (m_events[i] != nullptr && m_events[i]->IsSet())
            return static_cast<int>(i);
    }
    return -1;
}

int uEventListener::lastIndexOf(uEvent const* event) const
{
    for (std::size_t i = m_events.size(); i > 0; --i) {
        if (m_events[i - 1] == event)
            return static_cast<int>(i - 1);
    }
    return -1;
}

/// Clears every event that is set; the index of the first, or -1.
int uEventListener::consumeSetEvents()
{
    int first = -1;
    for (std::size_t i = 0; i < m_events.size(); ++i) {
        if (m_events[i] != nullptr && m_events[i]->consume() && first < 0)
            first = static_cast<int>(i);
    }
    return first;
}

} // namespace KORVA
