#pragma once

#include <pthread.h>

namespace KORVA {

/// A time-out of this many milliseconds means a wait without limit.
constexpr unsigned int NoTimeLimit = 0xFFFFFFFFU;

/// One wait on a condition, without limit for NoTimeLimit, else until timeoutMs from now on the
/// wall clock that gettimeofday reads and condition variables wait by. Returns true when the thread
/// was woken, for whatever reason, and false on time-out or error.
bool waitOnCondition(pthread_cond_t& condition, pthread_mutex_t& mutex, unsigned int timeoutMs);

/// Holds a system mutex from construction to destruction.
class PosixLockGuard
{
public:
    explicit PosixLockGuard(pthread_mutex_t& mutex) : m_mutex(mutex)
    {
        pthread_mutex_lock(&m_mutex);
    }
    ~PosixLockGuard() { pthread_mutex_unlock(&m_mutex); }
    PosixLockGuard(PosixLockGuard const&) = delete;
    PosixLockGuard& operator=(PosixLockGuard const&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

/// Counts a thread among the waiting ones from construction to destruction.
template <typename Counter>
class WaiterCount
{
public:
    explicit WaiterCount(Counter& counter) : m_counter(counter) { ++m_counter; }
    ~WaiterCount() { --m_counter; }
    WaiterCount(WaiterCount const&) = delete;
    WaiterCount& operator=(WaiterCount const&) = delete;

private:
    Counter& m_counter;
};

} // namespace KORVA
