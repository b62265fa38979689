#include "conf/dtc_conf_checksum.h"

#include "conf/dtc_conf_place.h"
#include "conf/dtc_conf_status.h"
#include "util/file_stream.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace KORVA::DTC::CONF {
namespace {

constexpr std::array<std::uint32_t, 256> makeTable()
{
    constexpr std::uint32_t polynomial = 0xEDB88320;
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t entry = i;
        for (int bit = 0; bit < 8; ++bit)
            entry = (entry & 1) != 0 ? entry >> 1 ^ polynomial : entry >> 1;
        table[i] = entry;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> g_crc32Table = makeTable();
static_assert(g_crc32Table[1] == 0x77073096);

} // namespace

unsigned int checksum(char const* path)
{
    if (path == nullptr)
        throw Exception(fileName, __LINE__, NullParameter, nullptr);
    FileStream const file(std::fopen(path, "rbe"));
    if (file == nullptr) {
        std::string const detail =
            std::string("failed to open ") + path + " for computing checksum";
        throw Exception(fileName, __LINE__, InvalidFile, detail.c_str());
    }
    std::uint32_t crc = 0xFFFFFFFF;
    std::array<unsigned char, 4096> block;
    std::size_t count = 0;
    while ((count = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
        for (std::size_t i = 0; i < count; ++i)
            crc = g_crc32Table[(crc ^ block[i]) & 0xFF] ^ crc >> 8;
    }
    return crc;
}

} // namespace KORVA::DTC::CONF
