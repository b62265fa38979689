/// The variables that the hardware holds.
#pragma once

#include "conf/dtc_conf_vars.h"

/// Sets fpgaRev ("2.17") and boardRev ("5") in the list where it holds them. An FPGA whose page
/// cannot be mapped throws PERIPH::Exception (MapFailed); a board revision that cannot be read
/// keeps its value and says so on standard output. Takes no lock.
void readVarsFromFpga(KORVA::DTC::CONF::VariableList& vars);

/// Nothing of the hardware can be written.
void writeVarsToFpga(KORVA::DTC::CONF::VariableList const& vars);
