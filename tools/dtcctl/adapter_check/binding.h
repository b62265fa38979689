#pragma once

#include <link.h>
#include <string>
#include <vector>

namespace dtcctl {

/// The entry points that a loaded library has, calls or points to itself, and does not bind within
/// itself: in a process with another library of the same names these lead there. See elf(5).
std::vector<std::string> looseEntries(link_map const& library);

} // namespace dtcctl
