#pragma once

#include "util/mutex.h"

#include <pthread.h>

namespace KORVA {

/// A time-out of this many milliseconds means a wait without limit.
constexpr unsigned int NoTimeLimit = 0xFFFFFFFFU;

/// One wait on a condition, without limit for NoTimeLimit, else until timeoutMs from now on the
/// wall clock that gettimeofday reads and condition variables wait by. Returns true when the thread
/// was woken, for whatever reason, and false on time-out or error.
bool waitOnCondition(pthread_cond_t& condition, Mutex& mutex, unsigned int timeoutMs)
    KORVA_REQUIRES(mutex);

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
