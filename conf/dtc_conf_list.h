#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KORVA::DTC::CONF {

// What the sources of this folder share; the public headers spell the list out.

using VariableList = std::vector<std::pair<std::string, std::string>>;

// The places of a throw: the set and its image, and what works on the box.
inline constexpr char const* fileName = "dtc_conf";
inline constexpr char const* gppFileName = "dtc_conf_gpp";

} // namespace KORVA::DTC::CONF
