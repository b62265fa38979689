#include "periph/dtc_periph_resets.h"

#include "periph/dtc_periph_delay.h"
#include "periph/dtc_periph_expander.h"
#include "periph/dtc_periph_i2c.h"
#include "util/at_load.h"

#include <cstdio>

namespace KORVA::DTC::PERIPH {
namespace {

[[gnu::init_priority(BeforeAdapter)]] I2C_RESETS fpgaReset(FPGA_RESET_PIN);
[[gnu::init_priority(BeforeAdapter)]] I2C_RESETS boxReset(BOX_RESET_PIN);
[[gnu::init_priority(BeforeAdapter)]] I2C_RESETS boardRevision(FPGA_RESET_PIN);

} // namespace

I2C_RESETS::I2C_RESETS(unsigned int pin) : m_pin(pin) {}

I2C_RESETS::~I2C_RESETS() = default;

void I2C_RESETS::init()
{
    getI2C().init();
    setDirection(Input);
}

void I2C_RESETS::setDirection(I2C_Direction direction)
{
    changePin(RESETS_I2C_ADDR, ExpanderRegister::Configuration, m_pin, direction != Output);
}

void I2C_RESETS::setOutput(unsigned int level)
{
    changePin(RESETS_I2C_ADDR, ExpanderRegister::Output, m_pin, (level & 1) != 0);
}

void I2C_RESETS::assertReset()
{
    if (m_pin == FPGA_RESET_PIN)
        pulseFpgaReset();
    else
        pulseBoxReset();
}

void I2C_RESETS::pulseFpgaReset()
{
    constexpr unsigned int comingUpUs = 50'000;
    setOutput(0);
    setDirection(Output);
    setOutput(1);
    setDirection(Input);
    waitusec(comingUpUs);
}

void I2C_RESETS::pulseBoxReset()
{
    std::printf("Reseting the DTC\n");
    std::fflush(stdout); // while this program still runs
    setDirection(Output);
    setOutput(0);
    setDirection(Input);
}

unsigned int I2C_RESETS::readBoardRev()
{
    setDirection(Input);
    return readRegister(RESETS_I2C_ADDR, ExpanderRegister::Input);
}

I2C_RESETS& getI2CFpgaReset()
{
    return fpgaReset;
}

I2C_RESETS& getI2CDtcReset()
{
    return boxReset;
}

I2C_RESETS& getI2CBoardRev()
{
    return boardRevision;
}

} // namespace KORVA::DTC::PERIPH
