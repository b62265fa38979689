#include "util/ustring.h"

#include <cstdarg>
#include <cstdio>
#include <ios>
#include <locale>
#include <sstream>

namespace KORVA {
namespace {

__attribute__((format(printf, 3, 4))) std::string& formatTo(std::string& out, bool append,
                                                            char const* format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (!append)
        out.clear();
    return length < 0 ? out : out.append(text);
}

struct Digits
{
    char const* text;
    std::ios_base::fmtflags radix;
};

/// What follows a radix prefix. "0", "0x" and "0X" alone leave "0", which is 0 in any radix.
Digits digitsOf(char const* text)
{
    if (text[0] != '0' || text[1] == '\0')
        return {text, std::ios_base::dec};
    if (text[1] != 'x' && text[1] != 'X')
        return {text + 1, std::ios_base::oct};
    return text[2] == '\0' ? Digits{"0", std::ios_base::hex} : Digits{text + 2, std::ios_base::hex};
}

template <typename Number>
Number extract(char const* text, std::ios_base::fmtflags radix)
{
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    stream.setf(radix, std::ios_base::basefield);
    Number value{};
    stream >> value; // 0 where there is no number, the type's limit where it does not fit
    return value;
}

void requireNumeric(char const* text)
{
    if (text == nullptr)
        throw uString::error("unable to convert null string to numeric");
    if (*text == '\0')
        throw uString::error("unable to convert empty string to numeric");
}

template <typename Integer>
Integer toInteger(char const* text)
{
    requireNumeric(text);
    Digits const digits = digitsOf(text);
    return extract<Integer>(digits.text, digits.radix);
}

} // namespace

std::string& uString::FromDouble(double value, std::string& out, bool append, char const* format)
{
    return formatTo(out, append, format == nullptr ? "%f" : format, value);
}

std::string& uString::FromDouble(std::string& out, double value, char const* format)
{
    return FromDouble(value, out, true, format);
}

std::string& uString::FromLong(long value, std::string& out, bool append, char const* format)
{
    return formatTo(out, append, format == nullptr ? "%ld" : format, value); // value is no int
}

std::string& uString::FromLong(std::string& out, long value, char const* format)
{
    return FromLong(value, out, true, format);
}

std::string& uString::FromBool(bool value, std::string& out, bool append)
{
    if (!append)
        out.clear();
    return out.append(value ? "true" : "false");
}

std::string& uString::FromBool(std::string& out, bool value)
{
    return FromBool(value, out, true);
}

bool uString::ToBool(char const* text)
{
    if (text == nullptr)
        throw error("unable to convert null string to boolean");
    std::string const word(text);
    if (word.empty())
        throw error("unable to convert empty string to boolean");
    if (word == "true" || word == "TRUE" || word == "True")
        return true;
    if (word == "false" || word == "FALSE" || word == "False")
        return false;
    throw error("unable to convert \"" + word + "\" to boolean");
}

long uString::ToLong(char const* text)
{
    return toInteger<long>(text);
}

long long uString::ToInt64(char const* text)
{
    return toInteger<long long>(text);
}

double uString::ToDouble(char const* text)
{
    requireNumeric(text);
    return extract<double>(digitsOf(text).text, std::ios_base::dec);
}

} // namespace KORVA
