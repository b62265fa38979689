#include "conf/dtc_conf_gpp_fpga.h"

#include "conf/dtc_conf_schema.h"
#include "periph/dtc_periph_fpga.h"
#include "periph/dtc_periph_resets.h"

#include <cstdio>
#include <exception>

namespace {

namespace CONF = KORVA::DTC::CONF;
namespace PERIPH = KORVA::DTC::PERIPH;

std::string fpgaRevision()
{
    unsigned int const revision = PERIPH::getFPGA().read(0);
    return std::to_string(revision >> 8) + "." + std::to_string(revision & 0xFF);
}

void readBoardRevision(std::string& value)
{
    try {
        PERIPH::I2C_RESETS& board = PERIPH::getI2CBoardRev();
        board.init();
        value = std::to_string(board.readBoardRev() & 0x0F);
    } catch (std::exception const& error) {
        std::printf("Board Rev Read failed: %s\n", error.what());
    } catch (...) {
        std::printf("Board Rev Read failed:\n");
    }
}

} // namespace

void readVarsFromFpga(CONF::VariableList& vars)
{
    for (auto& [name, value] : vars) {
        if (name == CONF::NAME::fpgaRev)
            value = fpgaRevision();
        else if (name == CONF::NAME::boardRev)
            readBoardRevision(value);
    }
}

void writeVarsToFpga(CONF::VariableList const& /*vars*/) {}
