#pragma once

namespace KORVA::DTC::PERIPH {

/// The registers of the bus's 8-bit I/O expanders; bit n belongs to pin n.
enum class ExpanderRegister : unsigned char {
    Input = 0,        ///< the levels of the pins
    Output = 1,       ///< what the pins that drive are driven to
    Configuration = 3 ///< set: the pin is an input
};

/// Each goes through getI2C() and throws as its transfers do.
unsigned char readRegister(unsigned int address, ExpanderRegister number);
void writeRegister(unsigned int address, ExpanderRegister number, unsigned char value);

/// Reads the register, sets or clears the pin's bit and writes it back.
void changePin(unsigned int address, ExpanderRegister number, unsigned int pin, bool level);
void togglePin(unsigned int address, ExpanderRegister number, unsigned int pin);

} // namespace KORVA::DTC::PERIPH
