#include "periph/dtc_periph_delay.h"

#include <cerrno>
#include <cstdint>
#include <time.h>

namespace KORVA::DTC::PERIPH {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

std::int64_t now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<std::int64_t>(time.tv_sec) * nanosecondsPerSecond + time.tv_nsec;
}

void waitFor(std::int64_t nanoseconds)
{
    constexpr std::int64_t leastSleep = 1'000'000;
    std::int64_t const end = now() + nanoseconds;
    if (nanoseconds < leastSleep) {
        while (now() < end) {
        }
        return;
    }
    timespec const deadline{static_cast<time_t>(end / nanosecondsPerSecond),
                            static_cast<long>(end % nanosecondsPerSecond)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
    }
}

} // namespace

void waitusec(unsigned int microseconds)
{
    waitFor(static_cast<std::int64_t>(microseconds) * 1000);
}

void waitmsec(unsigned int milliseconds)
{
    waitFor(static_cast<std::int64_t>(milliseconds) * 1'000'000);
}

} // namespace KORVA::DTC::PERIPH
