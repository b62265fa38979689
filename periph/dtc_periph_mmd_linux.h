/// One page of physical memory, mapped into the process.
#pragma once

#include "../util/export.h"

namespace KORVA::DTC::PERIPH {

class KORVA_API MMD
{
public:
    MMD() = default; ///< Maps nothing and makes no system call.

    /// As unmap, and so may throw.
    virtual ~MMD() noexcept(false);
    MMD(MMD const&) = delete;
    MMD& operator=(MMD const&) = delete;

    /// Maps the 4096 bytes at the physical address (a multiple of 4096), readable and writable.
    /// Once mapped, another map changes nothing. Throws MapFailed.
    void map(unsigned int physicalAddress);

    /// Gives the page back. Throws UnmapFailed, leaving it mapped.
    void unmap();

    /// The page's first byte; all bits set while nothing is mapped.
    void* get_base_address() const { return m_base; }

private:
    static void* unmapped();

    void* m_base = unmapped();
    int m_device = -1;
};

} // namespace KORVA::DTC::PERIPH
