/// What a person should know before variables are written.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace dtcctl {

using VariableList = std::vector<std::pair<std::string, std::string>>;

/// Warnings for a request to change variables of a box that is configured as current: names that
/// nothing acts on, and values that will not read back as they are given. Throws Failure for what
/// would not fit the EEPROM, or would change variables that were not named.
std::vector<std::string> adviceFor(VariableList const& request, VariableList const& current);

} // namespace dtcctl
