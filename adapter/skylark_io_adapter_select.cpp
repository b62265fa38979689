#include "adapter/skylark_io_adapter_select.h"

#include "adapter/dtc_io.h"

namespace KORVA::DTC {

int select_readable(fd_set& set, int maxfd, unsigned int timeout)
{
    if (timeout == DTC_IO_NO_TIME_LIMIT)
        return select(maxfd + 1, &set, nullptr, nullptr, nullptr);
    timeval limit{static_cast<time_t>(timeout / 1000),
                  static_cast<suseconds_t>(timeout % 1000) * 1000};
    return select(maxfd + 1, &set, nullptr, nullptr, &limit);
}

int select_readable(int descriptor, unsigned int timeout)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(descriptor, &set);
    return select_readable(set, descriptor, timeout);
}

} // namespace KORVA::DTC
