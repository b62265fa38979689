#pragma once

#include "conf/dtc_conf_status.h"
#include "periph/dtc_periph_i2c_linux.h"
#include "periph/dtc_periph_lock.h"

#include <exception>
#include <string>

namespace KORVA::DTC::CONF {

/// Runs the work on the EEPROM, initialised, under the lock "i2c". What goes wrong with the device,
/// not with the lock, becomes an exception of the status, with the phrase and the driver's message.
template <typename Work>
void withEeprom(Status status, std::string const& phrase, Work work)
{
    constexpr char const* fileName = "dtc_conf_gpp";
    constexpr unsigned int timeoutMs = 5000;
    constexpr unsigned int intervalMs = 10;
    PERIPH::I2C_LOCK lock;
    PERIPH::LockHold const hold(lock, timeoutMs, intervalMs);
    try {
        PERIPH::EEPROM& eeprom = PERIPH::getEEPROM();
        eeprom.init();
        work(eeprom);
    } catch (std::exception const& error) {
        throw Exception(fileName, __LINE__, status, (phrase + " : " + error.what()).c_str());
    } catch (...) {
        throw Exception(fileName, __LINE__, status, phrase.c_str());
    }
}

} // namespace KORVA::DTC::CONF
