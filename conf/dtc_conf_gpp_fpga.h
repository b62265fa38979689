/// The variables that the hardware holds, and the blinking of an LED as an acknowledgement.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KORVA::DTC::PERIPH {
class I2C_LED;
}

/// Sets fpgaRev ("2.17") and boardRev ("5") in the list where it holds them. An FPGA that cannot be
/// read throws; a board revision that cannot be read keeps its value and says so on standard
/// output. Takes no lock: callers hold "i2c" when others may use the bus.
void readVarsFromFpga(std::vector<std::pair<std::string, std::string>>& vars);

/// Nothing of the hardware can be written.
void writeVarsToFpga(std::vector<std::pair<std::string, std::string>> const& vars);

/// Toggles the LED 2 * count times, 100 ms apart, under the lock "i2c", so that it ends as it
/// began. Throws the lock's Timeout after a second; what goes wrong while blinking only ends it.
/// The LED must be initialised.
void flashLED(KORVA::DTC::PERIPH::I2C_LED& led, unsigned int count);
