#pragma once

#include "conf/dtc_conf_list.h"
#include "conf/dtc_conf_status.h"
#include "periph/dtc_periph_eeprom.h"
#include "periph/dtc_periph_lock.h"

#include <exception>
#include <string>

namespace KORVA::DTC::CONF {

/// Holds the lock "i2c" from construction to destruction. Throws PERIPH::Exception (Timeout) when
/// another process keeps it for all of timeoutMs.
class [[nodiscard]] BusTurn
{
public:
    explicit BusTurn(unsigned int timeoutMs = 5000) : m_hold(m_lock, timeoutMs, 10) {}

private:
    PERIPH::I2C_LOCK m_lock;
    PERIPH::LockHold m_hold;
};

/// Runs the work on the EEPROM, initialised, in a turn on the bus. What goes wrong with the device,
/// not with the lock, becomes an exception of the status, with the phrase and the driver's message.
template <typename Work>
void withEeprom(Status status, std::string const& phrase, Work work)
{
    BusTurn const turn;
    try {
        PERIPH::EEPROM& eeprom = PERIPH::getEEPROM();
        eeprom.init();
        work(eeprom);
    } catch (std::exception const& error) {
        throw Exception(gppFileName, __LINE__, status, (phrase + " : " + error.what()).c_str());
    } catch (...) {
        throw Exception(gppFileName, __LINE__, status, phrase.c_str());
    }
}

} // namespace KORVA::DTC::CONF
