/// The processor's pin multiplexer: two 32-bit registers in the page at physical address
/// 0x01C40000. Nothing is locked; each change is a read, a change and a write.
#pragma once

#include "../util/export.h"
#include "dtc_periph_mmd_linux.h"

namespace KORVA::DTC::PERIPH {

class KORVA_API PMX : public MMD
{
public:
    PMX(); ///< Maps the page. Throws MapFailed.
    ~PMX() noexcept(false) override;

    /// Switches the pins that the I2C bus needs; waits 10 ms twice for them to settle.
    void init();

    /// Set (clear) bits of register 0 and then of register 1, and wait 10 ms.
    void set(unsigned int mask0, unsigned int mask1);
    void clear(unsigned int mask0, unsigned int mask1);

private:
    volatile unsigned int& registerAt(unsigned int index);
};

/// The one pin multiplexer, mapped when the library is loaded; a failure shows as with getFPGA.
KORVA_API PMX& getPMX();

} // namespace KORVA::DTC::PERIPH
