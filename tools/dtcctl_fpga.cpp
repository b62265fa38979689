#include "periph/dtc_periph_fpga.h"

#include "tools/dtcctl.h"
#include "tools/dtcctl_input.h"

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

void addFpga(Command const& program)
{
    auto const options = std::make_shared<FpgaOptions>();
    Command const fpga = program.subcommand("fpga", "Read and write the FPGA's registers");
    Command const read = fpga.subcommand("read", "Print a register");
    Command const write = fpga.subcommand("write", "Set a register");
    for (Command const command : {read, write})
        command
            .argument("ADDRESS", options->address,
                      "0x06000000 to 0x0600FFFE, also as an offset from 0, or "
                      "0x08000000 to 0x0800FFFE")
            .required();
    write.argument("VALUE", options->value, "16 bits").required();
    read.onRun([options] { readRegister(*options); });
    write.onRun([options] { writeRegister(*options); });
}

} // namespace dtcctl
