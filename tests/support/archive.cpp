#include "tests/support/archive.h"

#include "tests/support/box_state.h"

#include <cstdio>
#include <cstdlib>
#include <numeric>

namespace testing_support {
namespace {

constexpr std::size_t blockBytes = 512;

std::string octal(std::size_t number, int digits)
{
    char text[16];
    std::snprintf(text, sizeof text, "%0*zo", digits, number);
    return text;
}

bool isLink(Member const& member)
{
    return member.type == '1' || member.type == '2';
}

/// As POSIX describes it for pax, "ustar Interchange Format".
std::string headerOf(Member const& member)
{
    std::string block(blockBytes, '\0');
    auto const put = [&block](std::size_t at, std::string const& text) {
        block.replace(at, text.size(), text);
    };
    put(0, member.name);
    put(100, octal(member.mode, 7));
    put(108, octal(0, 7));
    put(116, octal(0, 7));
    put(124, octal(isLink(member) ? 0 : member.content.size(), 11));
    put(136, octal(0, 11));
    put(148, "        ");
    put(156, std::string(1, member.type) + (isLink(member) ? member.content : ""));
    put(257, std::string("ustar\0"
                         "00",
                         8));
    put(329, octal(1, 7));
    put(337, octal(3, 7));
    put(148, octal(std::accumulate(
                       block.begin(), block.end(), std::size_t{0},
                       [](std::size_t sum, char c) { return sum + static_cast<unsigned char>(c); }),
                   6) +
                 std::string(1, '\0'));
    return block;
}

} // namespace

std::string archiveOf(std::vector<Member> const& members)
{
    std::string bytes;
    for (Member const& member : members) {
        bytes += headerOf(member) + (isLink(member) ? "" : member.content);
        bytes.resize((bytes.size() + blockBytes - 1) / blockBytes * blockBytes);
    }
    bytes.resize(bytes.size() + 2 * blockBytes);
    std::FILE* const gzip = popen("gzip > \"$DTC_BOX_ROOT/run/archive\"", "w");
    std::fwrite(bytes.data(), 1, bytes.size(), gzip);
    return pclose(gzip) == 0 ? boxFile("/run/archive") : "";
}

} // namespace testing_support
