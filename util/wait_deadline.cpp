#include "util/wait_deadline.h"

#include <sys/time.h>

namespace KORVA {

namespace {

timespec waitDeadline(unsigned int timeoutMs)
{
    constexpr long NanosecondsPerSecond = 1'000'000'000L;
    timeval now{};
    gettimeofday(&now, nullptr);
    long const nanoseconds =
        static_cast<long>(timeoutMs % 1000) * 1'000'000L + static_cast<long>(now.tv_usec) * 1000L;
    timespec deadline{};
    deadline.tv_sec = now.tv_sec + static_cast<time_t>(timeoutMs / 1000) +
                      static_cast<time_t>(nanoseconds / NanosecondsPerSecond);
    deadline.tv_nsec = nanoseconds % NanosecondsPerSecond;
    return deadline;
}

} // namespace

bool waitOnCondition(pthread_cond_t& condition, Mutex& mutex, unsigned int timeoutMs)
{
    if (timeoutMs == NoTimeLimit)
        return pthread_cond_wait(&condition, mutex.native()) == 0;
    timespec const deadline = waitDeadline(timeoutMs);
    return pthread_cond_timedwait(&condition, mutex.native(), &deadline) == 0;
}

} // namespace KORVA
