#pragma once

#include <string>

namespace KORVA::DTC::PLATFORM {

/// The command with every absolute path led under the directory that the shell variable DTC_BOX
/// names. A path is a '/', not alone, at the beginning of a word; inside quotes it must stand right
/// behind the quote.
std::string ledUnderBox(std::string const& command);

/// Whether a path in the command climbs by "..".
bool climbs(std::string const& command);

} // namespace KORVA::DTC::PLATFORM
