#pragma once

#include <string>

namespace dtcctl {

/// The text as a JSON string. A byte outside printable ASCII becomes the escape of its number.
std::string jsonString(std::string const& text);

/// The text for a terminal: a byte outside printable ASCII becomes \xNN.
std::string printable(std::string const& text);

} // namespace dtcctl
