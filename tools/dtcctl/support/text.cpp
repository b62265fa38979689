#include "tools/dtcctl/support/text.h"

#include <cstdio>

namespace dtcctl {
namespace {

bool isPrintable(char c)
{
    return c >= ' ' && c <= '~';
}

std::string escaped(char const* format, char c)
{
    char text[sizeof "\\u0000"];
    std::snprintf(text, sizeof text, format,
                  static_cast<unsigned int>(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

std::string jsonString(std::string const& text)
{
    std::string result = "\"";
    for (char const c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += isPrintable(c) ? std::string(1, c) : escaped("\\u%04x", c);
    }
    return result + '"';
}

std::string printable(std::string const& text)
{
    std::string result;
    for (char const c : text)
        result += isPrintable(c) ? std::string(1, c) : escaped("\\x%02x", c);
    return result;
}

} // namespace dtcctl
