/// The three devices on the box's I2C bus, as a master sees them. Their state lies in files of the
/// box, so that it outlives the process and is shared; call with the box's lock held.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace KORVA::DTC::PLATFORM {

constexpr std::size_t eepromBytes = 0x8000; ///< 32 KiB, the whole part

/// One device: how it answers to a write and a read transfer, given its state file and the box's
/// directory.
struct I2cDevice
{
    char const* node;          ///< its path on the box
    char const* name;          ///< for the log
    unsigned int address;      ///< 7 bits
    bool (*answers)(int root); ///< whether it acknowledges its address now
    // False when the state cannot be read or written.
    bool (*write)(int state, int root, unsigned char const* bytes, std::size_t length);
    bool (*read)(int state, int root, unsigned char* bytes, std::size_t length);
};

/// The device behind a node, or null.
I2cDevice const* i2cDeviceAt(char const* node);

} // namespace KORVA::DTC::PLATFORM
