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

void addReset(CLI::App& app, int& status)
{
    CLI::App* const command = app.add_subcommand("reset", "Reset a part of the box");
    command->require_subcommand(1);
    command->add_subcommand("fpga", "Pulse the FPGA's reset line")->callback([&status] {
        resetFpga();
        status = ExitOk;
    });
}

} // namespace dtcctl
