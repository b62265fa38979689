#include "util/ustring.h"

#include <string_view>

namespace KORVA {
namespace {

/// The characters to strip; a null pointer names none.
std::string_view setOf(char const* chars)
{
    return chars == nullptr ? std::string_view() : std::string_view(chars);
}

void requireSplittable(char const* text, char const* delimiter)
{
    if (text == nullptr)
        throw uString::error("unable to split null string");
    if (delimiter == nullptr)
        throw uString::error("unable to split with null delimeter");
}

} // namespace

source_utilities_error::~source_utilities_error() = default;
uString::error::~error() = default;

std::string& uString::Replace(std::string& s, char const* from, char const* to)
{
    if (from == nullptr)
        throw error("unable to perform string replacement from null original text");
    if (to == nullptr)
        throw error("unable to perform string replacement with null replacement text");
    // Copies, because either may point into s.
    std::string const original(from);
    std::string const replacement(to);
    if (original.empty())
        return s;
    std::string result;
    std::size_t position = 0;
    for (std::size_t found = s.find(original); found != std::string::npos;
         found = s.find(original, position)) {
        result.append(s, position, found - position).append(replacement);
        position = found + original.size();
    }
    result.append(s, position);
    s.swap(result);
    return s;
}

std::string& uString::StripTrailing(std::string& s, char const* chars)
{
    std::size_t const last = s.find_last_not_of(setOf(chars));
    s.erase(last == std::string::npos ? 0 : last + 1);
    return s;
}

std::string& uString::StripLeading(std::string& s, char const* chars)
{
    s.erase(0, s.find_first_not_of(setOf(chars)));
    return s;
}

int uString::Split(char const* text, std::string& left, std::string& right, char const* delimiter)
{
    requireSplittable(text, delimiter);
    std::string const whole(text);
    std::string const separator(delimiter);
    std::size_t const found = whole.find(separator);
    left = whole.substr(0, found);
    if (found == std::string::npos) {
        right.clear();
        return whole.empty() ? 0 : 1;
    }
    right = whole.substr(found + separator.size());
    return 2;
}

std::size_t uString::Split(std::vector<std::string>& parts, char const* text, char const* delimiter)
{
    requireSplittable(text, delimiter);
    std::string const whole(text);
    std::string const separator(delimiter);
    for (std::size_t position = 0; position < whole.size();) {
        std::size_t const found =
            separator.empty() ? std::string::npos : whole.find(separator, position);
        parts.push_back(whole.substr(position, found - position));
        if (found == std::string::npos)
            break;
        position = found + separator.size();
    }
    return parts.size();
}

} // namespace KORVA
