#include "tools/dtcctl/support/text.h"

#include <cstdio>

namespace dtcctl {
namespace {

/// Makes each byte the character of its number, in UTF-8.
void widen(Json& value)
{
    if (value.is_structured()) {
        for (Json& item : value)
            widen(item);
    } else if (value.is_string()) {
        std::string wide;
        for (char const c : value.get<std::string>()) {
            auto const byte = static_cast<unsigned char>(c);
            if (byte >= 0x80)
                wide += static_cast<char>(0xC0 | byte >> 6);
            wide += static_cast<char>(byte >= 0x80 ? 0x80 | (byte & 0x3F) : byte);
        }
        value = wide;
    }
}

} // namespace

std::string jsonLine(Json value)
{
    widen(value);
    return value.dump(-1, ' ', true);
}

std::string printable(std::string const& text)
{
    std::string result;
    for (char const c : text) {
        char escape[sizeof "\\x00"];
        std::snprintf(escape, sizeof escape, "\\x%02x",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        result += c >= ' ' && c <= '~' ? std::string(1, c) : escape;
    }
    return result;
}

} // namespace dtcctl
