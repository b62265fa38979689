#pragma once

#include "adapter/dtc_io.h"

#include <sys/select.h>

namespace KORVA::DTC {

/// select(2) for readability of the descriptors up to maxfd, for timeout milliseconds (0xFFFFFFFF:
/// without limit). Returns the number of readable descriptors, left in set; 0 on time-out; -1 on
/// failure, an interruption by a signal included, when set is undefined.
inline int select_readable(fd_set& set, int maxfd, unsigned int timeout)
{
    if (timeout == DTC_IO_NO_TIME_LIMIT)
        return select(maxfd + 1, &set, nullptr, nullptr, nullptr);
    timeval limit{static_cast<time_t>(timeout / 1000),
                  static_cast<suseconds_t>(timeout % 1000) * 1000};
    return select(maxfd + 1, &set, nullptr, nullptr, &limit);
}

/// The same for one descriptor.
inline int select_readable(int descriptor, unsigned int timeout)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(descriptor, &set);
    return select_readable(set, descriptor, timeout);
}

} // namespace KORVA::DTC
