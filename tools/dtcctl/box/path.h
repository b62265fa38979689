#pragma once

#include <string>

namespace dtcctl {

/// Where a file of the box, given by its absolute path there, lies on this machine: on the box
/// itself, just there.
std::string boxPath(std::string const& path);

} // namespace dtcctl
