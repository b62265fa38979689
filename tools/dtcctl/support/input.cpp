#include "tools/dtcctl/support/input.h"

#include "tools/dtcctl/support/failure.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>

namespace dtcctl {

std::string readAll(std::FILE* stream)
{
    std::string content;
    char bytes[1U << 16];
    while (std::size_t const count = std::fread(bytes, 1, sizeof bytes, stream))
        content.append(bytes, count);
    return content;
}

std::string readInput(std::string const& name)
{
    bool const isFile = name != "-";
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(
        isFile ? std::fopen(name.c_str(), "rbe") : nullptr, std::fclose);
    if (isFile && file == nullptr)
        throw Failure("cannot open " + name + ": " + std::strerror(errno));
    std::FILE* const stream = isFile ? file.get() : stdin;
    std::string content = readAll(stream);
    if (std::ferror(stream) != 0)
        throw Failure("cannot read " + (isFile ? name : "standard input") + ": " +
                      std::strerror(errno));
    return content;
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
