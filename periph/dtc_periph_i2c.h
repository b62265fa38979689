/// The I2C bus, with failures as exceptions. Nothing here is locked: whoever shares the bus with
/// other threads or programs holds the lock "i2c" (I2C_LOCK) around a whole sequence of transfers.
#pragma once

#include "../util/export.h"
#include "dtc_periph_mmd_linux.h"

namespace KORVA::DTC::PERIPH {

constexpr unsigned int LED_I2C_ADDR = 0x1A; ///< the expander that drives the LEDs
constexpr unsigned int RESETS_I2C_ADDR =
    0x1B; ///< the expander of the reset lines and the board revision
constexpr unsigned int EEPROM_I2C_ADDR = 0x50;

class KORVA_API I2C : public MMD
{
public:
    I2C() = default; ///< Touches no device; the memory page that it could map stays unmapped.

    /// Closes the bus's device nodes.
    ~I2C() noexcept(false) override;

    /// Opens and binds the device nodes, once for the process. All three throw OperationFailed.
    void init();

    /// One transfer of length bytes to or from the device: at most 65535 (the low 16 bits count),
    /// and no more than the node moves in one call, 8192 for Linux's i2c-dev.
    void write(unsigned int address, unsigned char* data, unsigned int length);
    void read(unsigned int address, unsigned char* data, unsigned int length);
};

/// The one bus.
KORVA_API I2C& getI2C();

} // namespace KORVA::DTC::PERIPH
