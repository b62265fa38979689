#include "periph/dtc_periph_expander.h"

#include "periph/dtc_periph_i2c.h"

namespace KORVA::DTC::PERIPH {
namespace {

unsigned char bitOf(unsigned int pin)
{
    return static_cast<unsigned char>(1U << pin);
}

} // namespace

unsigned char readRegister(unsigned int address, ExpanderRegister number)
{
    auto selection = static_cast<unsigned char>(number);
    unsigned char value = 0;
    getI2C().write(address, &selection, 1);
    getI2C().read(address, &value, 1);
    return value;
}

void writeRegister(unsigned int address, ExpanderRegister number, unsigned char value)
{
    unsigned char frame[] = {static_cast<unsigned char>(number), value};
    getI2C().write(address, frame, sizeof frame);
}

void changePin(unsigned int address, ExpanderRegister number, unsigned int pin, bool level)
{
    unsigned char const value = readRegister(address, number);
    writeRegister(address, number,
                  static_cast<unsigned char>(level ? value | bitOf(pin) : value & ~bitOf(pin)));
}

void togglePin(unsigned int address, ExpanderRegister number, unsigned int pin)
{
    writeRegister(address, number,
                  static_cast<unsigned char>(readRegister(address, number) ^ bitOf(pin)));
}

} // namespace KORVA::DTC::PERIPH
