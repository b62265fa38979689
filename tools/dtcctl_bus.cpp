#include "tools/dtcctl_bus.h"

namespace dtcctl {

BusHold::BusHold(unsigned int timeoutMs) : m_hold(m_lock, timeoutMs, intervalMs) {}

} // namespace dtcctl
