#include "periph/dtc_periph_mmd_linux.h"

#include "periph/dtc_periph_exception.h"
#include "platform/platform.h"

#include <fcntl.h>
#include <sys/mman.h>

namespace KORVA::DTC::PERIPH {
namespace {

constexpr char const* fileName = "dtc_periph_mmd_linux";

} // namespace

void* MMD::unmapped()
{
    return MAP_FAILED;
}

MMD::~MMD() noexcept(false)
{
    unmap();
}

void MMD::map(unsigned int physicalAddress)
{
    if (m_base != unmapped())
        return;
    m_device = PLATFORM::openDevice("/dev/mem", O_RDWR | O_SYNC);
    if (m_device == -1)
        throw Exception(fileName, __LINE__, MapFailed, "/dev/mem could not be opened");
    m_base = PLATFORM::mapPage(m_device, physicalAddress);
    if (m_base == unmapped()) { // a later use begins anew, and must not leak the first one's handle
        PLATFORM::closeDevice(m_device);
        m_device = -1;
        throw Exception(fileName, __LINE__, MapFailed, "call to mmap() failed");
    }
}

void MMD::unmap()
{
    if (m_base == unmapped())
        return;
    if (PLATFORM::unmapPage(m_base) != 0)
        throw Exception(fileName, __LINE__, UnmapFailed, nullptr);
    m_base = unmapped();
    PLATFORM::closeDevice(m_device);
    m_device = -1;
}

} // namespace KORVA::DTC::PERIPH
