/// The FPGA's 16-bit registers, in two ranges of physical memory: 0x06000000 to 0x0600FFFF and
/// 0x08000000 to 0x0800FFFF. Each access is a single 16-bit load or store; nothing is locked.
#pragma once

#include "../util/export.h"
#include "dtc_periph_mmd_linux.h"

#include <array>

namespace KORVA::DTC::PERIPH {

class KORVA_API FPGA
{
public:
    FPGA(); ///< Maps both ranges, 32 pages with a descriptor each. Throws MapFailed, leaving
            ///< nothing mapped.
    virtual ~FPGA() noexcept(false);
    FPGA(FPGA const&) = delete;
    FPGA& operator=(FPGA const&) = delete;

    /// One register. An address without any of the bits 25, 26 and 27 is an offset into the first
    /// range, so 0 and 0x06000000 are the same register. An odd address reaches the register below
    /// it, but the last one of a range is refused. Throws OperationFailed, without any access, for
    /// an address in neither range.
    unsigned short read(unsigned int address);
    void write(unsigned int address, unsigned short value);

    /// Whether the count registers from the address start do not lie wholly inside one range. start
    /// is taken as it stands, without the offsets that read and write accept. count: 1 to 0x8000;
    /// the last address is computed in 32 bits, so that 0 and very large counts can pass as legal.
    bool is_illegal_fpga_address_range(unsigned int start, unsigned int count);

private:
    volatile unsigned short& registerAt(unsigned int address);

    std::array<MMD, 32> m_mappings;
};

/// Which of the 32 mapped pages holds a legal address: 0 to 15 in the first range, 16 to 31 in the
/// second.
KORVA_API unsigned int get_mmd_index(unsigned int address);

/// The one FPGA, mapped when the library is loaded. If that failed, the first call throws the
/// MapFailed that it met, and each later one tries again.
KORVA_API FPGA& getFPGA();

} // namespace KORVA::DTC::PERIPH
