/// The box's three LEDs, on pins of an I/O expander that light them when they drive low. Locks as
/// for I2C.
#pragma once

#include "../util/export.h"

namespace KORVA::DTC::PERIPH {

class KORVA_API I2C_LED
{
public:
    explicit I2C_LED(unsigned int pin); ///< The low three bits count. Touches no device.
    virtual ~I2C_LED();

    /// Opens the bus and makes the pin drive. Once in a process, before the others; all throw
    /// OperationFailed, and leave the registers as far as they got.
    virtual void init();
    virtual void set();   ///< On.
    virtual void clear(); ///< Off.
    virtual void toggle();

private:
    unsigned int m_pin;
};

KORVA_API I2C_LED& getI2CLed0();
KORVA_API I2C_LED& getI2CLed1();
KORVA_API I2C_LED& getI2CLed2();

} // namespace KORVA::DTC::PERIPH
