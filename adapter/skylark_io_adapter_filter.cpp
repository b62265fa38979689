#include "adapter/skylark_io_adapter_filter.h"

#include "util/ustring.h"

#include <vector>

namespace KORVA::DTC {
namespace {

constexpr std::size_t addressParts = 4;

using Parts = std::vector<std::string>;

Parts split(std::string const& text, char const* delimiter)
{
    Parts parts;
    uString::Split(parts, text.c_str(), delimiter);
    return parts;
}

Parts partsOfPattern(std::string const& pattern)
{
    Parts parts = split(pattern, ".");
    if (parts.size() == addressParts - 1)
        parts.emplace_back();
    return parts;
}

bool admits(Parts const& pattern, Parts const& address)
{
    if (pattern.size() != addressParts || address.size() != addressParts)
        return true;
    for (std::size_t i = 0; i < addressParts; ++i) {
        if (!pattern[i].empty() && pattern[i] != address[i])
            return false;
    }
    return true;
}

} // namespace

std::optional<std::string> findAdmittingPattern(std::string const& filter,
                                                std::string const& address)
{
    Parts const parts = split(address, ".");
    for (std::string const& pattern : split(filter, ",")) {
        if (admits(partsOfPattern(pattern), parts))
            return pattern;
    }
    return std::nullopt;
}

bool isAddressPattern(std::string const& pattern)
{
    return partsOfPattern(pattern).size() == addressParts;
}

} // namespace KORVA::DTC
