#include "util/umutex.h"

namespace KORVA {

uMutex::~uMutex()
{
    pthread_mutex_destroy(&m_mutex);
}

bool uMutex::Lock()
{
    return acquire(pthread_self());
}

bool uMutex::Unlock()
{
    if (!pthread_equal(m_owner.load(std::memory_order_relaxed), pthread_self()))
        return false;
    if (m_lockCount.load(std::memory_order_relaxed) <= 0)
        return true;
    release();
    return true;
}

} // namespace KORVA
