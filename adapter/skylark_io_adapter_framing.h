/// The 16-byte header in front of every message: four 32-bit words, little-endian on any machine.
///
///   offset  0  magic       0xFACE0001
///           4  reserved    0 when sent, not looked at when received
///           8  byte count  of the payload that follows, never 0
///          12  tag         given by the sender, handed to the receiver unchanged
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace KORVA::DTC {

struct MessageHeader
{
    static constexpr std::size_t Size = 16;
    static constexpr std::uint32_t Magic = 0xFACE0001U;
    using Bytes = std::array<unsigned char, Size>;

    std::uint32_t magic = Magic;
    std::uint32_t reserved = 0;
    std::uint32_t byteCount = 0;
    std::uint32_t tag = 0;

    Bytes encode() const;
    static MessageHeader decode(Bytes const& bytes);
};

} // namespace KORVA::DTC
