#include "periph/dtc_periph_fpga.h"

#include "periph/dtc_periph_exception.h"
#include "util/at_load.h"

namespace KORVA::DTC::PERIPH {
namespace {

constexpr char const* fileName = "dtc_periph_fpga";
constexpr char const* addrErr = "invalid address";

constexpr unsigned int rangeA = 0x06000000;
constexpr unsigned int rangeB = 0x08000000;
constexpr unsigned int lastRegister = 0xFFFE; // its offset in either range
constexpr unsigned int pageBytes = 0x1000;
constexpr unsigned int pagesPerRange = 16;

bool isIn(unsigned int range, unsigned int address)
{
    return address >= range && address <= range + lastRegister;
}

[[gnu::init_priority(BeforeAdapter)]] LoadTimeInstance<FPGA> instance;

} // namespace

FPGA::FPGA()
{
    for (unsigned int i = 0; i < pagesPerRange; ++i)
        m_mappings[i].map(rangeA + i * pageBytes);
    for (unsigned int i = 0; i < pagesPerRange; ++i)
        m_mappings[pagesPerRange + i].map(rangeB + i * pageBytes);
}

FPGA::~FPGA() noexcept(false) = default;

unsigned short FPGA::read(unsigned int address)
{
    return registerAt(address);
}

void FPGA::write(unsigned int address, unsigned short value)
{
    registerAt(address) = value;
}

volatile unsigned short& FPGA::registerAt(unsigned int address)
{
    constexpr unsigned int rangeBits = 0x0E000000;
    unsigned int const absolute = (address & rangeBits) == 0 ? address + rangeA : address;
    if (!isIn(rangeA, absolute) && !isIn(rangeB, absolute))
        throw Exception(fileName, __LINE__, OperationFailed, addrErr);
    auto* const page =
        static_cast<unsigned char*>(m_mappings[get_mmd_index(absolute)].get_base_address());
    return *reinterpret_cast<volatile unsigned short*>(page + (absolute & 0x0FFE));
}

bool FPGA::is_illegal_fpga_address_range(unsigned int start, unsigned int count)
{
    unsigned int const last = start + 2 * count - 2;
    bool const isLegal = (start >= rangeB && last <= rangeB + lastRegister) ||
                         (start >= rangeA && last <= rangeA + lastRegister);
    return !isLegal;
}

unsigned int get_mmd_index(unsigned int address)
{
    unsigned int const page = (address & lastRegister) >> 12;
    return page + (address - rangeA > lastRegister ? pagesPerRange : 0);
}

FPGA& getFPGA()
{
    return instance.get();
}

} // namespace KORVA::DTC::PERIPH
