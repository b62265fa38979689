#pragma once

#include "periph/dtc_periph_lock.h"

namespace dtcctl {

/// Holds the lock of the I2C bus. From the first one on, SIGINT and SIGTERM no longer end the
/// program at once: a lock left behind would keep every program off the bus.
class BusHold
{
public:
    /// Throws as LOCK::acquire does when the lock is not to be had in so many milliseconds.
    explicit BusHold(unsigned int timeoutMs);

private:
    KORVA::DTC::PERIPH::I2C_LOCK m_lock;
    KORVA::DTC::PERIPH::LockHold m_hold;
};

constexpr unsigned int pinTimeoutMs = 1000;
constexpr unsigned int eepromTimeoutMs = 5000;

} // namespace dtcctl
