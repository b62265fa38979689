#pragma once

#include <cstdio>
#include <string>

namespace dtcctl {

/// What the stream holds up to its end, or to an error that ferror tells.
std::string readAll(std::FILE* stream);

/// All bytes of the file, or of standard input when the name is "-". Throws Failure.
std::string readInput(std::string const& name);

/// The number that a person gives, decimal or hexadecimal with 0x. Throws UsageError for other text
/// and for a number above most.
unsigned int parseNumber(std::string const& text, unsigned int most);

} // namespace dtcctl
