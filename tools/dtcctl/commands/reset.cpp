#include <skylark_io/periph/dtc_periph_resets.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/library_call.h"

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

void addReset(CLI::App& program)
{
    CLI::App& command = *program.add_subcommand("reset", "Reset a part of the box");
    command.require_subcommand(1);
    command.add_subcommand("fpga", "Pulse the FPGA's reset line")->callback(resetFpga);
}

} // namespace dtcctl
