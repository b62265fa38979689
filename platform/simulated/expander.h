/// An 8-bit I/O expander of the simulated box.
#pragma once

#include <unistd.h>

namespace KORVA::DTC::PLATFORM {

/// What an expander holds, as it lies in its state file. The byte after the address selects a
/// register, and what follows is written to it; a read gives the selected register. Selected
/// register 0: the levels of the pins; 1: what outputs drive; 2: which levels read inverted; 3:
/// which pins are inputs. Source: the data sheets of 8-bit I2C expanders with four registers.
struct Expander
{
    unsigned char outside = 0xFF; ///< what drives the pins that are inputs
    unsigned char output = 0xFF;
    unsigned char polarity = 0;
    unsigned char configuration = 0xFF;
    unsigned char selected = 0;

    /// False when the file cannot be read.
    bool load(int state) { return pread(state, this, sizeof *this, 0) == sizeof *this; }

    /// In one call: a process killed here leaves the old state or the new one.
    bool save(int state) const { return pwrite(state, this, sizeof *this, 0) == sizeof *this; }

    unsigned char pins() const
    {
        return static_cast<unsigned char>(((outside & configuration) | (output & ~configuration)) ^
                                          polarity);
    }

    unsigned char value() const
    {
        unsigned char const registers[] = {pins(), output, polarity, configuration};
        return registers[selected & 3];
    }

    void set(unsigned char value)
    {
        unsigned char* const registers[] = {nullptr, &output, &polarity, &configuration};
        if (registers[selected & 3] != nullptr)
            *registers[selected & 3] = value;
    }

    bool isInput(unsigned int pin) const { return (configuration >> pin & 1) != 0; }
    bool drivesHigh(unsigned int pin) const { return (output >> pin & 1) != 0; }
};
static_assert(sizeof(Expander) == 5, "five bytes of the state file");

} // namespace KORVA::DTC::PLATFORM
