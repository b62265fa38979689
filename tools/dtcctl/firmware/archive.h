#pragma once

#include <string>
#include <vector>

namespace dtcctl {

/// The names of the members of a compressed archive, which is read to its end, as the machine's
/// tar lists them. Throws Failure when it cannot be read or is damaged.
std::vector<std::string> membersOf(std::string const& file);

} // namespace dtcctl
