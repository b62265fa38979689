#pragma once

#include "../util/export.h"

namespace KORVA::DTC::CONF {

/// The CRC-32 (polynomial 0xEDB88320, reflected) of a file's bytes before the usual final
/// inversion: the complement of the common value. For programs: nothing in the library uses it, and
/// the EEPROM's image has none. The path is the machine's own, also on a simulated box. Throws
/// NullParameter for a null path, and InvalidFile when the file cannot be opened; a read error
/// counts as the file's end.
KORVA_API unsigned int checksum(char const* path);

} // namespace KORVA::DTC::CONF
