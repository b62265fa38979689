#pragma once

#include <cstdio>
#include <memory>

namespace KORVA {

struct CloseFileStream
{
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};

/// A C stream with one owner. Open it by fopen with the mode letter "e" (close-on-exec): a command
/// that another thread starts meanwhile must not inherit the file, as it would from std::fstream.
using FileStream = std::unique_ptr<std::FILE, CloseFileStream>;

} // namespace KORVA
