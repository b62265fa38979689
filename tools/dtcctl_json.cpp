#include "tools/dtcctl_json.h"

#include <cstdio>

namespace dtcctl {

std::string quoted(std::string const& text)
{
    std::string result = "\"";
    for (char const c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        if (static_cast<unsigned char>(c) >= ' ') {
            result += c;
            continue;
        }
        char escape[sizeof "\\u0000"];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(c));
        result += escape;
    }
    return result + '"';
}

} // namespace dtcctl
