#pragma once

#include "tools/dtcctl/box/state.h"

#include <string>

namespace dtcctl {

/// The state as one JSON object on one line. Sizes and registers are numbers.
std::string toJson(BoxState const& state);

} // namespace dtcctl
