/// What the simulated box looks like at one moment, in words and numbers that can be shown.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace dtcctl {

struct BoxFile
{
    std::string name;
    std::uintmax_t sizeBytes;
};

/// A flash partition as it lies in the box: raw bytes, or a directory of files.
struct BoxPartition
{
    std::string name;
    bool isDirectory;
    std::uintmax_t sizeBytes; ///< of the raw bytes, or of all files
    std::vector<BoxFile> files;
};

struct BoxState
{
    std::string directory;
    std::array<std::string, 3> leds; ///< "on", "off" or "released"
    std::string fpgaReset;           ///< "released", "held low" or "driven high"
    std::string boxReset;
    unsigned int boardRevision;
    unsigned int fpgaRevision;
    std::array<unsigned int, 2> pinMultiplexer;
    bool isEepromErased;
    std::vector<std::string> eepromText; ///< its first lines
    std::vector<BoxPartition> flash;
    std::string rootFileSystem; ///< "ro" or "rw"
    std::string network;        ///< "up" or "down"
    std::string address;        ///< empty while the network is down
    std::vector<std::string> transfers;
    std::vector<std::string> commands; ///< the last lines of the two logs, oldest first
};

/// Looks at the box, with its lock for as long as the reading takes. Makes the box when there is
/// none. Throws std::runtime_error when its directory cannot serve.
BoxState lookAtBox();

} // namespace dtcctl
