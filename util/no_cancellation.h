#pragma once

#include <pthread.h>

namespace KORVA {

/// Puts off the cancellation of the calling thread while it lives: a request that comes meanwhile
/// takes effect at the thread's next cancellation point after it. For work that must be whole, or
/// that runs where nothing may be thrown.
class [[nodiscard]] NoCancellation
{
public:
    NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_previous); }
    ~NoCancellation() { pthread_setcancelstate(m_previous, nullptr); }
    NoCancellation(NoCancellation const&) = delete;
    NoCancellation& operator=(NoCancellation const&) = delete;

private:
    int m_previous = PTHREAD_CANCEL_ENABLE;
};

} // namespace KORVA
