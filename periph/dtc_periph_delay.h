#pragma once

#include "../util/export.h"

namespace KORVA::DTC::PERIPH {

/// Return after at least so many microseconds (milliseconds), whatever signals come. Delays of a
/// millisecond and more sleep; shorter ones spin, because hardware is waiting.
KORVA_API void waitusec(unsigned int microseconds);
KORVA_API void waitmsec(unsigned int milliseconds);

} // namespace KORVA::DTC::PERIPH
