#include "util/umutex.h"

namespace KORVA {

uMutex::~uMutex()
{
    pthread_mutex_destroy(&m_mutex);
}

bool uMutex::Lock()
{
    pthread_t const self = pthread_self();
    if (pthread_equal(m_owner, self)) {
        ++m_lockCount;
        return true;
    }
    if (pthread_mutex_lock(&m_mutex) != 0)
        return false;
    ++m_lockCount;
    m_owner = self;
    return true;
}

bool uMutex::Unlock()
{
    if (!pthread_equal(m_owner, pthread_self()))
        return false;
    if (m_lockCount <= 0)
        return true;
    if (--m_lockCount == 0) {
        m_owner = 0;
        pthread_mutex_unlock(&m_mutex);
    }
    return true;
}

} // namespace KORVA
