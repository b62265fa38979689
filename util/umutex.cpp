#include "util/umutex.h"

namespace KORVA {

uMutex::~uMutex()
{
    pthread_mutex_destroy(&m_mutex);
}

/// Only the owner calls, so no read-modify-write instruction is needed.
int uMutex::addLevels(int levels)
{
    int const count = m_lockCount.load(std::memory_order_relaxed) + levels;
    m_lockCount.store(count, std::memory_order_relaxed);
    return count;
}

bool uMutex::Lock()
{
    pthread_t const self = pthread_self();
    if (pthread_equal(m_owner.load(std::memory_order_relaxed), self)) {
        addLevels(1);
        return true;
    }
    if (pthread_mutex_lock(&m_mutex) != 0)
        return false;
    addLevels(1);
    m_owner.store(self, std::memory_order_relaxed);
    return true;
}

bool uMutex::Unlock()
{
    if (!pthread_equal(m_owner.load(std::memory_order_relaxed), pthread_self()))
        return false;
    if (m_lockCount.load(std::memory_order_relaxed) <= 0)
        return true;
    if (addLevels(-1) == 0) {
        m_owner.store(0, std::memory_order_relaxed);
        pthread_mutex_unlock(&m_mutex);
    }
    return true;
}

} // namespace KORVA
