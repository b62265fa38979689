#include "tools/dtcctl/vars/advice.h"

#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/text.h"
#include <skylark_io/conf/dtc_conf_image.h>
#include <skylark_io/conf/dtc_conf_schema.h>
#include <skylark_io/conf/dtc_conf_status.h>
#include <skylark_io/conf/dtc_conf_vars.h>
#include <skylark_io/periph/dtc_periph_eeprom.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace dtcctl {
namespace {

using namespace KORVA::DTC::CONF;

SchemaEntry const* rowOf(std::string const& name)
{
    SchemaEntry* row = nullptr;
    for (getSchema(row); row->name != nullptr; ++row) {
        if (name == row->name)
            return row;
    }
    return nullptr;
}

bool isStored(std::string const& name)
{
    SchemaEntry const* const row = rowOf(name);
    return row != nullptr && row->stored;
}

std::string const* find(VariableList const& vars, std::string const& name)
{
    auto const found = std::find_if(vars.begin(), vars.end(),
                                    [&name](auto const& pair) { return pair.first == name; });
    return found != vars.end() ? &found->second : nullptr;
}

bool isClockText(std::string const& text)
{
    std::tm time{};
    char const* const end = strptime(text.c_str(), "%Y/%m/%d %H:%M:%S", &time);
    return end != nullptr && *end == '\0';
}

/// What to say of a variable that the EEPROM does not keep; empty when there is nothing to say.
std::string adviceForUnstored(std::string const& name, std::string const& value)
{
    SchemaEntry const* const row = rowOf(name);
    if (name == NAME::standbyMinutes || name == NAME::_error ||
        (name == NAME::_control && value != CONTROL::EnableInetd))
        return "holds for the process that sets it, and so is gone when this command ends";
    if (row == nullptr)
        return "not a variable of this box: writing it changes nothing";
    if (!row->writable)
        return "not writable: writing it changes nothing";
    if (name == NAME::safeMode)
        return "takes effect when the box starts next";
    if (name == NAME::time && value == VALUE::None)
        return "\"none\" leaves the clock alone";
    if (name == NAME::time && !isClockText(value))
        return "the clock takes YYYY/MM/DD hh:mm:ss only";
    return "";
}

/// The stored variables as they would read back, rendered and parsed as the library does.
VariableList afterStoring(VariableList const& wanted)
{
    constexpr unsigned int size = KORVA::DTC::PERIPH::EEPROM_SIZE;
    VariableList stored;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(stored),
                 [](auto const& pair) { return isStored(pair.first); });
    std::size_t textBytes = 0;
    for (auto const& [name, value] : stored)
        textBytes += value.empty() ? 0 : name.size() + value.size() + std::strlen("=\n");
    if (textBytes >= size)
        throw Failure("the variables would make " + std::to_string(textBytes) +
                      " bytes of text, and the EEPROM has room for " + std::to_string(size - 1));
    std::vector<char> image(size);
    unsigned int index = 0;
    varsToBuf(stored, image.data(), size, index);
    VariableList parsed;
    bufToVars(parsed, image.data(), size);
    VariableList result;
    for (auto const& [name, value] : stored)
        setValue(name.c_str(), rowOf(name)->defaultValue, result);
    for (auto const& [name, value] : parsed) {
        if (isStored(name))
            setValue(name.c_str(), value.c_str(), result);
    }
    return result;
}

} // namespace

std::vector<std::string> adviceFor(VariableList const& request, VariableList const& current)
{
    std::vector<std::string> advice;
    for (auto const& [name, value] : request) {
        std::string const text = isStored(name) ? "" : adviceForUnstored(name, value);
        if (!text.empty())
            advice.push_back(printable(name) + ": " + text);
    }
    VariableList wanted = current;
    updateVars(wanted, request);
    for (auto const& [name, value] : afterStoring(wanted)) {
        if (value == *find(wanted, name))
            continue;
        std::string const fate = printable(name) + ": will read back as " + jsonLine(value);
        if (find(request, name) == nullptr)
            throw Failure(fate + ", which was not asked for: a line feed ends a value");
        advice.push_back(fate);
    }
    char const* const network = std::getenv("IPCONFIG");
    if (find(request, NAME::ipConfig) != nullptr && network != nullptr &&
        std::strcmp(network, VALUE::Off) == 0)
        advice.emplace_back("ipConfig: stays as it is while the environment variable IPCONFIG "
                            "is off");
    return advice;
}

} // namespace dtcctl
