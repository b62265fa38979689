#include "adapter/skylark_io_adapter_framing.h"

#include <cstring>
#include <endian.h>

namespace KORVA::DTC {
namespace {

void encodeWord(unsigned char* bytes, std::uint32_t word)
{
    std::uint32_t const littleEndian = htole32(word);
    std::memcpy(bytes, &littleEndian, sizeof littleEndian);
}

std::uint32_t decodeWord(unsigned char const* bytes)
{
    std::uint32_t littleEndian = 0;
    std::memcpy(&littleEndian, bytes, sizeof littleEndian);
    return le32toh(littleEndian);
}

} // namespace

MessageHeader::Bytes MessageHeader::encode() const
{
    Bytes bytes;
    encodeWord(&bytes[0], magic);
    encodeWord(&bytes[4], reserved);
    encodeWord(&bytes[8], byteCount);
    encodeWord(&bytes[12], tag);
    return bytes;
}

MessageHeader MessageHeader::decode(Bytes const& bytes)
{
    return {decodeWord(&bytes[0]), decodeWord(&bytes[4]), decodeWord(&bytes[8]),
            decodeWord(&bytes[12])};
}

} // namespace KORVA::DTC
