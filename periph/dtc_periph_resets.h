/// The reset lines and the board revision, on pins of an I/O expander. Locks as for I2C.
#pragma once

#include "../util/export.h"

namespace KORVA::DTC::PERIPH {

constexpr unsigned int FPGA_RESET_PIN = 6;
constexpr unsigned int BOX_RESET_PIN = 7;

enum I2C_Direction { Output = 0, Input = 1 };

class KORVA_API I2C_RESETS
{
public:
    explicit I2C_RESETS(unsigned int pin); ///< 0 to 7. Touches no device.
    virtual ~I2C_RESETS();

    /// Opens the bus and releases the pin. Once in a process, before the others; all throw
    /// OperationFailed, and leave the registers as far as they got.
    virtual void init();

    /// Pulses the reset line. Pin 6, the FPGA: low, high, released, and 50 ms for it to come up.
    /// Any other pin, the box itself: low, which ends this program; returns if it did not.
    virtual void assertReset();

    /// Releases the pin and returns the levels of all eight, 0 to 255; the low four bits are the
    /// board revision.
    virtual unsigned int readBoardRev();

    void setDirection(I2C_Direction direction);
    void setOutput(unsigned int level); ///< Bit 0 counts.

private:
    void pulseFpgaReset();
    void pulseBoxReset();

    unsigned int m_pin;
};

KORVA_API I2C_RESETS& getI2CFpgaReset();
KORVA_API I2C_RESETS& getI2CDtcReset();
KORVA_API I2C_RESETS& getI2CBoardRev();

} // namespace KORVA::DTC::PERIPH
