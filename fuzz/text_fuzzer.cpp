// The text functions, on any bytes. Where a function takes several texts they are the input's
// pieces between zero bytes: the text, what to look for in it, and what to put in its place.
#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_vars.h"
#include "fuzz/promise.h"
#include "util/ustring.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>

using fuzz::require;
using KORVA::uString;

namespace {

void checkFilterChars(std::string const& text)
{
    std::size_t const end = text.find('\0');
    std::string kept = fuzz::cleaned(text.substr(0, end));
    if (end != std::string::npos)
        kept += '\0';
    std::unique_ptr<char[]> const buf(new char[text.size()]);
    text.copy(buf.get(), text.size());
    KORVA::DTC::CONF::filterChars(buf.get(), static_cast<unsigned int>(text.size()));
    require(std::string(buf.get(), text.size()) == kept + text.substr(kept.size()),
            "only clean characters stay, and nothing behind them changes");
}

/// What a POSIX shell makes of the word; nothing unless it is just one word without anything that
/// the shell would act on. Of the ways to quote it knows ' and \'.
std::optional<std::string> readShellWord(std::string const& word)
{
    std::string text;
    bool quoted = false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word[i] == '\'')
            quoted = !quoted;
        else if (!quoted && word.compare(i, 2, "\\'") == 0)
            text += word[++i];
        else if (quoted || (word[i] > ' ' && word[i] <= '~' &&
                            std::strchr("|&;<>()$`\\\"*?[]#~=%{}!^", word[i]) == nullptr))
            text += word[i];
        else
            return std::nullopt;
    }
    return word.empty() || quoted ? std::nullopt : std::optional(text);
}

void checkSplit(std::string const& text, std::string const& delimiter)
{
    // A result may replace the text that it is taken from: here the left one, below the right one.
    std::string left = text;
    std::string right;
    int const result = uString::Split(left.c_str(), left, right, delimiter.c_str());
    char const* const found = std::strstr(text.c_str(), delimiter.c_str());
    require(found != nullptr ? result == 2 && left == std::string(text.c_str(), found) &&
                                   right == found + delimiter.size()
                             : result == (text.empty() ? 0 : 1) && left == text && right.empty(),
            "a text is split at its first delimiter");

    std::vector<std::string> expected{"kept"};
    std::vector<std::string> pieces = expected;
    right = text;
    while (!delimiter.empty() && uString::Split(right.c_str(), left, right, delimiter.c_str()) != 0)
        expected.push_back(left);
    if (delimiter.empty() && !text.empty())
        expected.push_back(text);
    require(uString::Split(pieces, text.c_str(), delimiter.c_str()) == expected.size() &&
                pieces == expected,
            "the pieces between delimiters are appended");
}

void checkEditing(std::string const& text, std::string const& from, std::string const& to)
{
    std::string expected;
    for (std::size_t i = 0; i < text.size();) {
        bool const here = !from.empty() && text.compare(i, from.size(), from) == 0;
        expected += here ? to : text.substr(i, 1);
        i += here ? from.size() : 1;
    }
    std::string edited = text;
    require(uString::Replace(edited, from.c_str(), to.c_str()) == expected,
            "each occurrence is replaced, from left to right");

    auto const isStripped = [&](char c) { return std::strchr(from.c_str(), c) != nullptr; };
    auto const first = std::find_if_not(text.begin(), text.end(), isStripped);
    auto const last = std::find_if_not(text.rbegin(), text.rend(), isStripped).base();
    require(uString::StripLeading(edited = text, from.c_str()) == std::string(first, text.end()),
            "the start is stripped");
    require(uString::StripTrailing(edited = text, from.c_str()) == std::string(text.begin(), last),
            "the end is stripped");
}

/// The result, or nothing when the text is refused.
template <typename Result>
std::optional<Result> converted(Result (*convert)(char const*), std::string const& text)
{
    try {
        return convert(text.c_str());
    } catch (uString::error const&) {
        return std::nullopt;
    }
}

void checkConversions(std::string const& text)
{
    bool const isTrue = text == "true" || text == "TRUE" || text == "True";
    bool const isWord = isTrue || text == "false" || text == "FALSE" || text == "False";
    require(converted(uString::ToBool, text) == (isWord ? std::optional(isTrue) : std::nullopt),
            "six words are booleans");

    bool const octal = text[0] == '0' && text.size() > 1;
    bool const hexadecimal = octal && (text[1] == 'x' || text[1] == 'X');
    char const* const digits = text.c_str() + (hexadecimal ? 2 : octal ? 1 : 0);
    int const radix = hexadecimal ? 16 : octal ? 8 : 10;
    std::optional<long long> integer;
    if (!text.empty())
        integer = std::strtoll(digits, nullptr, radix);
    require(converted(uString::ToInt64, text) == integer &&
                converted(uString::ToLong, text) == integer,
            "whole numbers are read as the C library reads them, and empty text is none");

    constexpr double most = std::numeric_limits<double>::max();
    std::optional<double> const real = converted(uString::ToDouble, text);
    require(text.empty() ? !real : *real >= -most && *real <= most, "a number is finite");
    char* end = nullptr;
    double const expected = std::clamp(std::strtod(digits, &end), -most, most);
    auto const length = static_cast<std::size_t>(end - digits);
    // The C library also takes words and hexadecimal fractions, and forgives a broken exponent.
    if (std::strspn(digits, " \t\n\v\f\r+-.0123456789eE") >= length && *end != 'e' && *end != 'E')
        require(real.value_or(0) == expected, "fractions are read as the C library reads them");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const whole(data, data + size);
    checkFilterChars(whole);
    require(readShellWord(KORVA::DTC::CONF::shellWord(whole)) == whole,
            "the shell takes the text as one word");

    std::string texts[3];
    std::istringstream pieces(whole);
    for (std::string& text : texts)
        std::getline(pieces, text, '\0');
    checkSplit(texts[0], texts[1]);
    checkEditing(texts[0], texts[1], texts[2]);
    checkConversions(texts[0]);
    return 0;
}
