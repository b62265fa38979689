#pragma once

#include <string>

namespace dtcctl {

/// All bytes of the file, or of standard input when the name is "-". Throws Failure.
std::string readInput(std::string const& name);

/// The number that a person gives, decimal or hexadecimal with 0x. Throws UsageError for other text
/// and for a number above most.
unsigned int parseNumber(std::string const& text, unsigned int most);

} // namespace dtcctl
