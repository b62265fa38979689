#include "util/uevent_listener.h"

#include "util/uevent.h"
#include "util/wait_deadline.h"

#include <sched.h>

namespace KORVA {

uEventListener::uEventListener(uEvent** events, int count) : m_count(count)
{
    if (events != nullptr && m_count > 0)
        m_events.assign(events, events + m_count);
    for (uEvent* event : m_events) {
        if (event != nullptr)
            event->AddListener(this);
    }
}

uEventListener::~uEventListener()
{
    for (uEvent* event : m_events) {
        if (event != nullptr)
            event->DeleteListener(this);
    }
    pthread_mutex_destroy(&m_mutex);
    pthread_cond_destroy(&m_condition);
}

int uEventListener::Wait(unsigned int timeoutMs)
{
    sched_yield();
    PosixLockGuard const guard(m_mutex);
    // Counted before the scan: a Set that comes after the scan finds this thread and wakes it, one
    // that came before has left its event set for the scan to find.
    ++m_waiters;
    m_wokenIndex = -1;
    int index = firstSetEvent();
    m_satisfied = index >= 0;
    if (index >= 0) {
        resetSetEvents();
    } else {
        bool const woken = waitOnCondition(m_condition, m_mutex, timeoutMs);
        index = m_satisfied || woken ? m_wokenIndex : -1;
    }
    --m_waiters;
    return index;
}

bool uEventListener::WakeUp(uEvent* event)
{
    if (m_waiters == 0)
        return false;
    PosixLockGuard const guard(m_mutex);
    m_satisfied = firstSetEvent() >= 0;
    if (!m_satisfied || !event->IsSet())
        return false; // a Wait that scanned meanwhile has taken it already
    m_wokenIndex = lastIndexOf(event);
    // Not left to Set, which goes on without this lock: the woken thread could wait again and find the
    // same signal a second time.
    event->Reset();
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

void uEventListener::resetSetEvents()
{
    for (uEvent* event : m_events) {
        if (event != nullptr && event->IsSet())
            event->Reset();
    }
}

} // namespace KORVA
