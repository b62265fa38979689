#include "util/uevent.h"

#include "util/uevent_listener.h"
#include "util/wait_deadline.h"

#include <algorithm>

namespace KORVA {

uEvent::uEvent(bool initialState) : m_state(initialState) {}

uEvent::~uEvent()
{
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_mutex);
}

bool uEvent::Wait(unsigned int timeoutMs)
{
    PosixLockGuard const guard(m_mutex);
    if (consume())
        return true;
    ++m_waiters;
    // Any wake-up counts: one Set releases every waiter, and the first to run has cleared the
    // state.
    bool const woken = waitOnCondition(m_condition, m_mutex, timeoutMs);
    --m_waiters;
    if (woken)
        m_state = false;
    return woken;
}

bool uEvent::Set()
{
    PosixLockGuard const guard(m_mutex);
    m_state = true;
    if (m_waiters != 0)
        pthread_cond_broadcast(&m_condition);
    else if (offerToListeners())
        m_state = false;
    return true;
}

bool uEvent::offerToListeners()
{
    uMutexGuard const guard(m_listenerLock);
    return std::any_of(m_listeners.begin(), m_listeners.end(),
                       [this](uEventListener* listener) { return listener->WakeUp(this); });
}

bool uEvent::Reset()
{
    m_state = false;
    return true;
}

bool uEvent::AddListener(uEventListener* listener)
{
    uMutexGuard const guard(m_listenerLock);
    m_listeners.push_back(listener);
    return true;
}

bool uEvent::DeleteListener(uEventListener* listener)
{
    uMutexGuard const guard(m_listenerLock);
    auto const found = std::find(m_listeners.begin(), m_listeners.end(), listener);
    if (found == m_listeners.end())
        return false;
    m_listeners.erase(found);
    return true;
}

} // namespace KORVA
