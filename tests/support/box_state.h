#pragma once

#include <string>
#include <vector>

namespace testing_support {

/// The content of a file of the simulated box, given by its path on the box.
std::string boxFile(std::string const& path);
void setBoxFile(std::string const& path, std::string const& content);

/// The transfers logged since the last call, without time and process: "write bit_io 0x1a 2: 03
/// fe".
std::vector<std::string> newTransfers();

/// The shell commands logged since the last call, likewise.
std::vector<std::string> newCommands();

} // namespace testing_support
