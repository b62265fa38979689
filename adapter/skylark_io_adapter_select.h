#pragma once

#include <sys/select.h>

namespace KORVA::DTC {

/// select(2) for readability of the descriptors up to maxfd, for timeout milliseconds (0xFFFFFFFF:
/// without limit). Returns the number of readable descriptors, left in set; 0 on time-out; -1 on
/// failure, an interruption by a signal included, when set is undefined.
int select_readable(fd_set& set, int maxfd, unsigned int timeout);

/// The same for one descriptor.
int select_readable(int descriptor, unsigned int timeout);

} // namespace KORVA::DTC
