#pragma once

#include "platform/simulated/box_files.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace testing_support {

inline std::string contentOf(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The content of a file of the simulated box, given by its path on the box.
inline std::string boxFile(std::string const& path)
{
    return contentOf(KORVA::DTC::PLATFORM::boxRoot() + path);
}

inline void setBoxFile(std::string const& path, std::string const& content)
{
    std::ofstream(KORVA::DTC::PLATFORM::boxRoot() + path, std::ios::binary) << content;
}

/// The lines that a log of the box has gained since the last call, without time and process.
inline std::vector<std::string> newLines(std::string const& log)
{
    std::vector<std::string> lines;
    std::istringstream text(boxFile(log));
    for (std::string day, time, process, line; text >> day >> time >> process >> std::ws;) {
        std::getline(text, line);
        lines.push_back(line);
    }
    setBoxFile(log, "");
    return lines;
}

/// For example "write bit_io 0x1a 2: 03 fe".
inline std::vector<std::string> newTransfers()
{
    return newLines("/log/transfers.log");
}

inline std::vector<std::string> newCommands()
{
    return newLines("/log/commands.log");
}

} // namespace testing_support
