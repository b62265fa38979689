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
    return release(pthread_self());
}

} // namespace KORVA
