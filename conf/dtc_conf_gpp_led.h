/// The blinking of an LED as an acknowledgement.
#pragma once

namespace KORVA::DTC::PERIPH {
class I2C_LED;
}

/// Toggles the LED 2 * count times, 100 ms apart, under the lock "i2c", so that it ends as it
/// began. count: less than 2^31. Throws the lock's PERIPH::Exception (Timeout) when another process
/// holds it for a second; what goes wrong while blinking only ends it, with the LED as it is then.
/// The bus must be open and the LED's pin an output (I2C_LED::init), otherwise nothing is seen.
void flashLED(KORVA::DTC::PERIPH::I2C_LED& led, unsigned int count);
