/// The stored variables in the EEPROM. Both operations hold the lock "i2c" while they use the bus.
/// They wait five seconds for it at most when another process has it, which throws its
/// PERIPH::Exception (Timeout), and without limit while another thread of this process has one.
/// Each needs 20 ms for the pins, and writing 5 ms a page of 64 bytes more.
#pragma once

#include "conf/dtc_conf_vars.h"

/// Appends the stored variables found in the image, and removes what the EEPROM does not keep from
/// the whole list. Throws CONF::Exception (PeripheralAccessFailed), leaving the list alone, when
/// the device cannot be read.
void readVarsFromEeprom(KORVA::DTC::CONF::VariableList& vars);

/// Makes the stored variables of the list the new image. Throws CONF::Exception (OperationFailed):
/// before anything is written when they are too large, or when the device fails, which leaves the
/// pages before the failure new.
void writeVarsToEeprom(KORVA::DTC::CONF::VariableList const& vars);
