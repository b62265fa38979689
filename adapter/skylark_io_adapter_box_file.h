#pragma once

#include "platform/platform.h"

#include <cstdio>
#include <memory>

namespace KORVA::DTC {

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using BoxFile = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file of the box to be written anew; null when that cannot be.
inline BoxFile rewriteBoxFile(char const* boxPath)
{
    return BoxFile(std::fopen(PLATFORM::path(boxPath).c_str(), "we"));
}

} // namespace KORVA::DTC
