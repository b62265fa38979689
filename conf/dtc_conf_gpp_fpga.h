/// The variables that the hardware holds, and the blinking of an LED as an acknowledgement.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KORVA::DTC::PERIPH {
class I2C_LED;
}

/// Sets fpgaRev ("2.17") and boardRev ("5") in the list where it holds them. An FPGA whose page
/// cannot be mapped throws PERIPH::Exception (MapFailed); a board revision that cannot be read
/// keeps its value and says so on standard output. Takes no lock.
void readVarsFromFpga(std::vector<std::pair<std::string, std::string>>& vars);

/// Nothing of the hardware can be written.
void writeVarsToFpga(std::vector<std::pair<std::string, std::string>> const& vars);

/// Toggles the LED 2 * count times, 100 ms apart, under the lock "i2c", so that it ends as it
/// began. count: less than 2^31. Throws the lock's PERIPH::Exception (Timeout) when another process
/// holds it for a second; what goes wrong while blinking only ends it, with the LED as it is then.
/// The bus must be open and the LED's pin an output (I2C_LED::init), otherwise nothing is seen.
void flashLED(KORVA::DTC::PERIPH::I2C_LED& led, unsigned int count);
