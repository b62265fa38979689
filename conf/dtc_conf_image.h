/// The text image in which the stored variables lie in the EEPROM: a line "name=value" for each,
/// and a zero byte. See docs/variables.md.
#pragma once

#include "../util/export.h"
#include "dtc_conf_vars.h"

namespace KORVA::DTC::CONF {

/// Renders the pairs from position index on into the size bytes at buf, which are all overwritten;
/// a pair without a name or a value is skipped, and filterChars cleans the whole. A line feed in a
/// value stays, and makes a line of its own of what follows it. index becomes 0 when every pair is
/// in, else the position of the first that did not fit. Throws NullParameter for a null buf, and
/// OperationFailed when the list's very first pair does not fit, with buf zeroed and index as it
/// was.
KORVA_API void varsToBuf(VariableList const& vars, char* buf, unsigned int size,
                         unsigned int& index);

/// Appends the pairs found in the zero-terminated text, up to the first line without "=". The first
/// "=" of a line ends the name, which may be empty. size is not used. Throws NullParameter for a
/// null buf.
KORVA_API void bufToVars(VariableList& vars, char const* buf, unsigned int size);

} // namespace KORVA::DTC::CONF

// Outside the namespace: for the library itself, which does not let it out.

/// Removes every pair that the EEPROM does not keep.
void removeNonEepromVars(KORVA::DTC::CONF::VariableList& vars);
