#include "tests/support/archive.h"

#include "tests/support/box_state.h"

#include <cstdio>

namespace testing_support {
namespace {

constexpr std::size_t blockBytes = 512;

bool isLink(Member const& member)
{
    return member.type == '1' || member.type == '2';
}

/// As POSIX describes it for pax, "ustar Interchange Format".
std::string headerOf(Member const& member)
{
    std::string block(blockBytes, '\0');
    block.replace(0, member.name.size(), member.name);
    std::snprintf(&block[100], 157, "%07o%c%07o%c%07o%c%011zo%c%011o%c%8s%c%s", member.mode, 0, 0,
                  0, 0, 0, isLink(member) ? 0 : member.content.size(), 0, 0, 0, "", member.type,
                  isLink(member) ? member.content.c_str() : "");
    std::snprintf(&block[257], 9, "ustar%c00", 0);
    std::snprintf(&block[329], 16, "%07o%c%07o", 1, 0, 3);
    unsigned int sum = 0;
    for (char const byte : block)
        sum += static_cast<unsigned char>(byte);
    std::snprintf(&block[148], 7, "%06o", sum);
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

std::string firmwareArchive(std::string const& text)
{
    std::string const root = archiveOf({{"etc/", "", '5', 0555}, {"etc/greeting", text}});
    return archiveOf({{"rootfs.tar.gz", root}, {"./uImage", text}});
}

std::string firmwareInFlash()
{
    std::string text;
    for (char const* partition : {"5.d/etc/greeting", "4", "3.d/etc/greeting", "2"})
        text += boxFile(std::string("/flash/mtd") + partition) + ".";
    return text;
}

} // namespace testing_support
