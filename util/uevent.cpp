#include "util/uevent.h"

#include "util/uevent_listener.h"
#include "util/wait_deadline.h"

#include <algorithm>

namespace KORVA {

uEvent::uEvent(bool initialState) : m_state(initialState) {}

uEvent::~uEvent()
{
    pthread_cond_destroy(&m_condition);
}

bool uEvent::Wait(unsigned int timeoutMs)
{
    MutexGuard const guard(m_mutex);
    if (consume())
        return true;
    WaiterCount const counted(m_waiters);
    // Any wake-up counts: one Set releases every waiter, and the first to run has cleared the
    // state.
    bool const woken = waitOnCondition(m_condition, m_mutex, timeoutMs);
    if (woken)
        m_state = false;
    return woken;
}

bool uEvent::Set()
{
    MutexGuard const guard(m_mutex);
    m_state = true;
    if (m_waiters != 0)
        pthread_cond_broadcast(&m_condition);
    else
        offerToListeners(); // one that takes the signal clears the state
    return true;
}

void uEvent::offerToListeners()
{
    uMutexGuard const guard(m_listenerLock);
    for (uEventListener* listener : m_listeners) {
        if (listener->WakeUp(this))
            return;
    }
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
