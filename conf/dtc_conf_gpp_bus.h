/// What the configuration does on the box's I2C bus, in turns with other programs.
#pragma once

#include "conf/dtc_conf_place.h"
#include "conf/dtc_conf_status.h"
#include "periph/dtc_periph_eeprom.h"
#include "periph/dtc_periph_led.h"
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

/// Toggles the LED 2 * count times, 100 ms apart, under the lock "i2c", so that it ends as it
/// began. count: less than 2^31. Throws the lock's PERIPH::Exception (Timeout) when another process
/// holds it for a second; what goes wrong while blinking only ends it, with the LED as it is then.
/// The bus must be open and the LED's pin an output (I2C_LED::init), otherwise nothing is seen.
void flashLED(KORVA::DTC::PERIPH::I2C_LED& led, unsigned int count);
