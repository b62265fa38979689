#include "tools/dtcctl_input.h"

#include "tools/dtcctl_failure.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

namespace dtcctl {
namespace {

std::string readAll(std::istream& stream, std::string const& name)
{
    std::string content((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (stream.bad())
        throw Failure("cannot read " + name);
    return content;
}

} // namespace

std::string readInput(std::string const& name)
{
    if (name == "-")
        return readAll(std::cin, "standard input");
    std::ifstream stream(name, std::ios::binary);
    if (!stream)
        throw Failure("cannot open " + name + ": " + std::strerror(errno));
    return readAll(stream, name);
}

unsigned int parseNumber(std::string const& text, unsigned int most)
{
    bool const isHex = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    char const* const begin = text.data() + (isHex ? 2 : 0);
    char const* const end = text.data() + text.size();
    unsigned int number = 0;
    auto const [stop, error] = std::from_chars(begin, end, number, isHex ? 16 : 10);
    if (error == std::errc::invalid_argument || stop != end)
        throw UsageError("\"" + text + "\": not a number, decimal or hexadecimal with 0x");
    if (error != std::errc() || number > most)
        throw UsageError(text + ": larger than " + std::to_string(most));
    return number;
}

} // namespace dtcctl
