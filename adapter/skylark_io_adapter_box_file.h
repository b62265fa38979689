#pragma once

#include "platform/platform.h"
#include "util/file_stream.h"

namespace KORVA::DTC {

/// Opens a file of the box to be written anew; null when that cannot be.
inline FileStream rewriteBoxFile(char const* boxPath)
{
    return FileStream(std::fopen(PLATFORM::path(boxPath).c_str(), "we"));
}

} // namespace KORVA::DTC
