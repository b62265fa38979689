#include <skylark_io/periph/dtc_periph_fpga.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/input.h"

#include <cstdio>
#include <limits>
#include <memory>

namespace dtcctl {
namespace {

struct FpgaOptions
{
    std::string address;
    std::string value;
};

unsigned int addressOf(FpgaOptions const& options)
{
    return parseNumber(options.address, std::numeric_limits<unsigned int>::max());
}

void print(unsigned int address, unsigned short value)
{
    std::printf("0x%08x: 0x%04x\n", address, value);
}

void readRegister(FpgaOptions const& options)
{
    unsigned int const address = addressOf(options);
    print(address, KORVA::DTC::PERIPH::getFPGA().read(address));
}

/// Prints what was written: reading it back could have effects of its own on the hardware.
void writeRegister(FpgaOptions const& options)
{
    unsigned int const address = addressOf(options);
    auto const value = static_cast<unsigned short>(
        parseNumber(options.value, std::numeric_limits<unsigned short>::max()));
    KORVA::DTC::PERIPH::getFPGA().write(address, value);
    print(address, value);
}

} // namespace

void addFpga(CLI::App& program)
{
    auto const options = std::make_shared<FpgaOptions>();
    CLI::App& fpga = *program.add_subcommand("fpga", "Read and write the FPGA's registers");
    fpga.require_subcommand(1);
    CLI::App* const read = fpga.add_subcommand("read", "Print a register");
    CLI::App* const write = fpga.add_subcommand("write", "Set a register");
    for (CLI::App* const command : {read, write})
        command
            ->add_option("ADDRESS", options->address,
                         "0x06000000 to 0x0600FFFE, also as an offset from 0, or "
                         "0x08000000 to 0x0800FFFE")
            ->required();
    write->add_option("VALUE", options->value, "16 bits")->required();
    read->callback([options] { readRegister(*options); });
    write->callback([options] { writeRegister(*options); });
}

} // namespace dtcctl
