#include "conf/dtc_conf_vars.h"

#include "conf/dtc_conf_place.h"
#include "conf/dtc_conf_status.h"

#include <algorithm>

namespace KORVA::DTC::CONF {
namespace {

VariableList::iterator find(VariableList& vars, char const* name)
{
    return std::find_if(vars.begin(), vars.end(),
                        [name](auto const& pair) { return pair.first == name; });
}

bool isKept(char character)
{
    return character == '\n' || (character >= 32 && character <= 126);
}

} // namespace

Vars::Vars(char const* connection) : m_connection(connection) {}

Vars::~Vars() = default;

std::string& Vars::getVar(char const* name)
{
    if (name == nullptr)
        throw Exception(fileName, __LINE__, NullParameter, nullptr);
    auto const found = find(*this, name);
    if (found == end())
        throw Exception(fileName, __LINE__, InvalidVariableName, name);
    return found->second;
}

void setValue(char const* name, char const* value, VariableList& vars)
{
    if (name == nullptr || value == nullptr)
        throw Exception(fileName, __LINE__, NullParameter, nullptr);
    auto const found = find(vars, name);
    if (found != vars.end())
        found->second = value;
    else
        vars.emplace_back(name, value);
}

void updateVars(VariableList& vars, VariableList const& updates)
{
    for (auto const& [name, value] : updates)
        setValue(name.c_str(), value.c_str(), vars);
}

void filterChars(char* text, unsigned int size)
{
    unsigned int kept = 0;
    for (unsigned int i = 0; i < size; ++i) {
        char const character = text[i] == '\t' ? ' ' : text[i];
        if (character == '\0') {
            text[kept] = '\0';
            return;
        }
        if (isKept(character))
            text[kept++] = character;
    }
}

} // namespace KORVA::DTC::CONF
