#pragma once

#include <string>

namespace dtcctl {

/// The text as a JSON string.
std::string quoted(std::string const& text);

} // namespace dtcctl
