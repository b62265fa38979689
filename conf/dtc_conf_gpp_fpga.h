/// The variables that the hardware holds.
#pragma once

#include <string>
#include <utility>
#include <vector>

/// Sets fpgaRev ("2.17") and boardRev ("5") in the list where it holds them. An FPGA whose page
/// cannot be mapped throws PERIPH::Exception (MapFailed); a board revision that cannot be read
/// keeps its value and says so on standard output. Takes no lock.
void readVarsFromFpga(std::vector<std::pair<std::string, std::string>>& vars);

/// Nothing of the hardware can be written.
void writeVarsToFpga(std::vector<std::pair<std::string, std::string>> const& vars);
