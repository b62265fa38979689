/// Which client addresses the configuration variable _ipFilter lets in.
///
/// Its value is a list of patterns, separated by commas. A pattern has four parts, separated by
/// dots, of which an empty one matches anything; of three parts, it has an empty fourth. Parts are
/// compared as text. See docs/network.md.
#pragma once

#include "../util/export.h"

#include <optional>
#include <string>

namespace KORVA::DTC {

/// The first pattern of the filter that admits the dotted address; none when it is refused. A
/// pattern that is no address pattern admits every address, and every pattern admits an address
/// that has not four parts.
KORVA_API std::optional<std::string> findAdmittingPattern(std::string const& filter,
                                                          std::string const& address);

/// Whether the pattern has the parts of an address, and so compares anything.
KORVA_API bool isAddressPattern(std::string const& pattern);

} // namespace KORVA::DTC
