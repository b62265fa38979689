#include "tools/dtcctl_bus.h"

#include "tools/dtcctl_interrupt.h"

namespace dtcctl {
namespace {

constexpr unsigned int intervalMs = 10;

unsigned int withInterruptsCaught(unsigned int timeoutMs)
{
    catchInterrupts();
    return timeoutMs;
}

} // namespace

BusHold::BusHold(unsigned int timeoutMs)
    : m_hold(m_lock, withInterruptsCaught(timeoutMs), intervalMs)
{}

} // namespace dtcctl
