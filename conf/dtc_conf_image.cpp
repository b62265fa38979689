#include "conf/dtc_conf_image.h"

#include "conf/dtc_conf_place.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace KORVA::DTC::CONF {

void varsToBuf(VariableList const& vars, char* buf, unsigned int size, unsigned int& index)
{
    if (buf == nullptr)
        throw Exception(fileName, __LINE__, NullParameter, nullptr);
    std::memset(buf, 0, size);
    std::size_t used = 0;
    std::size_t position = index;
    for (; position < vars.size(); ++position) {
        auto const& [name, value] = vars[position];
        if (name.empty() || value.empty())
            continue;
        std::string const line = std::string(name).append("=").append(value).append("\n");
        if (used + line.size() >= size) { // the terminator must still fit
            if (position == 0)
                throw Exception(fileName, __LINE__, OperationFailed, nullptr);
            break;
        }
        used += line.copy(buf + used, line.size());
    }
    index = position < vars.size() ? static_cast<unsigned int>(position) : 0;
    filterChars(buf, size);
}

void bufToVars(VariableList& vars, char const* buf, unsigned int /*size*/)
{
    if (buf == nullptr)
        throw Exception(fileName, __LINE__, NullParameter, nullptr);
    for (std::string_view rest = buf; !rest.empty();) {
        std::string_view const line = rest.substr(0, rest.find('\n'));
        std::size_t const equals = line.find('=');
        if (equals == std::string_view::npos)
            return;
        vars.emplace_back(line.substr(0, equals), line.substr(equals + 1));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
}

} // namespace KORVA::DTC::CONF

void removeNonEepromVars(KORVA::DTC::CONF::VariableList& vars)
{
    auto const isNotStored = [](auto const& pair) {
        auto const* const row = KORVA::DTC::CONF::findInSchema(pair.first);
        return row == nullptr || !row->stored;
    };
    vars.erase(std::remove_if(vars.begin(), vars.end(), isNotStored), vars.end());
}
