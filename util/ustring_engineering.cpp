#include "util/ustring.h"

#include "util/uengineering_units.h"

#include <algorithm>
#include <iterator>

namespace KORVA {
namespace {

struct Prefix
{
    double scale;
    char const* name;
    char const* symbol;
};

constexpr Prefix prefixes[] = {
    {uEngineeringUnits::yotta, "yotta", "Y"},
    {uEngineeringUnits::zetta, "zetta", "Z"},
    {uEngineeringUnits::exa, "exa", "E"},
    {uEngineeringUnits::peta, "peta", "P"},
    {uEngineeringUnits::tera, "tera", "T"},
    {uEngineeringUnits::giga, "giga", "G"},
    {uEngineeringUnits::mega, "mega", "M"},
    {uEngineeringUnits::kilo, "kilo", "k"},
    {1.0, "", ""},
    {uEngineeringUnits::milli, "milli", "m"},
    {uEngineeringUnits::micro, "micro", "u"},
    {uEngineeringUnits::nano, "nano", "n"},
    {uEngineeringUnits::pico, "pico", "p"},
    {uEngineeringUnits::femto, "femto", "f"},
    {uEngineeringUnits::atto, "atto", "a"},
    {uEngineeringUnits::zepto, "zepto", "z"},
    {uEngineeringUnits::yocto, "yocto", "y"},
};

Prefix const& prefixFor(double value)
{
    auto const* const found = std::find_if(std::begin(prefixes), std::end(prefixes),
                                           [value](Prefix const& p) { return p.scale <= value; });
    return found != std::end(prefixes) ? *found : *std::rbegin(prefixes);
}

} // namespace

uEngineeringUnits::~uEngineeringUnits() = default;

std::string& uString::FromDoubleInEngrUnits(double value, std::string& out, bool append,
                                            char const* format, bool symbol)
{
    Prefix const& prefix = prefixFor(value);
    return FromDouble(value / prefix.scale, out, append, format)
        .append(symbol ? prefix.symbol : prefix.name);
}

std::string& uString::FromDoubleInEngrUnits(std::string& out, double value, char const* format,
                                            bool symbol)
{
    return FromDoubleInEngrUnits(value, out, true, format, symbol);
}

} // namespace KORVA
