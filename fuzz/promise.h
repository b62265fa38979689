/// What the fuzz targets share.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

/// Reports a finding, which ends the process, unless the promise is kept.
inline void require(bool kept, char const* promise)
{
    if (kept)
        return;
    std::fprintf(stderr, "ERROR: broken promise: %s\n", promise);
    std::abort();
}

/// A second, plain writing of what filterChars makes of a text without a zero byte.
inline std::string cleaned(std::string const& text)
{
    std::string clean;
    for (char const character : text) {
        if (character == '\n' || (character >= ' ' && character <= '~'))
            clean += character;
        else if (character == '\t')
            clean += ' ';
    }
    return clean;
}

} // namespace fuzz
