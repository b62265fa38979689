#pragma once

#include <algorithm>
#include <ctime>
#include <vector>

namespace bench {

/// Of at least one value.
inline double median(std::vector<double> values)
{
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

inline double secondsOn(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace bench
