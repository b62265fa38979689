#pragma once

#include <string>

namespace dtcctl {

/// The library's form of an address that a person gives: "127.0.0.1", a host name, or the library's
/// own number form ("0x7F000001", "skylark0:2130706433"). Throws UsageError for text that is none
/// of these, an address with a port among them, and Failure for a name that cannot be resolved.
std::string libraryAddress(std::string const& given);

} // namespace dtcctl
