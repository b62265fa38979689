#pragma once

#include "periph/dtc_periph_lock.h"

#include "tools/dtcctl_library_call.h"

namespace dtcctl {

/// Holds the lock of the I2C bus, and the signals that would end or stop the program back: a lock
/// left behind would keep every program off the bus.
class BusHold
{
public:
    /// Throws as LOCK::acquire does when the lock is not to be had in so many milliseconds.
    explicit BusHold(unsigned int timeoutMs);

private:
    HeldSignals m_signals; // first taken, last given up
    KORVA::DTC::PERIPH::I2C_LOCK m_lock;
    KORVA::DTC::PERIPH::LockHold m_hold;
};

constexpr unsigned int intervalMs = 10; ///< between two attempts to take the lock
constexpr unsigned int pinTimeoutMs = 1000;
constexpr unsigned int eepromTimeoutMs = 5000;

} // namespace dtcctl
