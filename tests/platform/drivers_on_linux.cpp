// Uses the drivers over the system's own calls. Only to be started where /dev/mem is the ordinary
// file that the arguments name by its device and inode: drivers_on_linux_test does that.
#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_fpga.h"
#include "periph/dtc_periph_i2c.h"
#include "periph/dtc_periph_pmx.h"

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace KORVA::DTC::PERIPH;

namespace {

/// Before any static object is made, because drivers map the memory that early.
__attribute__((constructor(101))) void refuseRealMemory(int argc, char** argv, char** /*environ*/)
{
    struct stat memory = {};
    bool const isTheFile = argc == 3 && stat("/dev/mem", &memory) == 0 && S_ISREG(memory.st_mode) &&
                           std::to_string(memory.st_dev) == argv[1] &&
                           std::to_string(memory.st_ino) == argv[2];
    if (!isTheFile)
        _exit(78);
}

} // namespace

int main()
{
    FPGA& fpga = getFPGA();
    fpga.write(0x1234, static_cast<unsigned short>(fpga.read(0) + 1));
    fpga.write(0x0600FFFD, 0xA1A2);
    fpga.write(0x08000000, 0xB1B2);
    fpga.write(0x0800FFFE, fpga.read(0x06001234));
    getPMX().init();
    try {
        getI2C().init(); // its nodes are ordinary files here, which cannot be bound
    } catch (Exception const& error) {
        return error.status() == OperationFailed ? 0 : 1;
    }
    return 2;
}
