#include "periph/dtc_periph_resets.h"

#include "tools/dtcctl.h"
#include "tools/dtcctl_bus.h"

namespace dtcctl {
namespace {

void resetFpga()
{
    BusHold const hold(pinTimeoutMs);
    KORVA::DTC::PERIPH::I2C_RESETS& reset = KORVA::DTC::PERIPH::getI2CFpgaReset();
    reset.init();
    reset.assertReset();
}

} // namespace

void addReset(Command const& program)
{
    Command const command = program.subcommand("reset", "Reset a part of the box");
    command.subcommand("fpga", "Pulse the FPGA's reset line").onRun(resetFpga);
}

} // namespace dtcctl
