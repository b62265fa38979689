#pragma once

#include <string>

namespace KORVA {

/// The text of a socket errno, "Unknown Socket Error (0x%x)" for one outside the fixed table.
std::string socketErrorText(int error);

} // namespace KORVA
