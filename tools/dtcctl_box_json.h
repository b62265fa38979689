#pragma once

#include "tools/dtcctl_box_state.h"

#include <string>

namespace dtcctl {

/// The state as one JSON object on one line. Sizes and registers are numbers.
std::string toJson(BoxState const& state);

} // namespace dtcctl
