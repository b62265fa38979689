#include "periph/dtc_periph_eeprom.h"

#include "periph/dtc_periph_delay.h"
#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_i2c.h"
#include "periph/dtc_periph_pmx.h"
#include "util/at_load.h"

#include <cstdint>
#include <cstring>

namespace KORVA::DTC::PERIPH {
namespace {

constexpr char const* fileName = "dtc_periph_i2c_linux"; // as the texts have it
constexpr unsigned int addressBytes = 2;

[[gnu::init_priority(BeforeAdapter)]] EEPROM eeprom;

/// High byte first.
void encodeAddress(unsigned char* bytes, unsigned int address)
{
    bytes[0] = static_cast<unsigned char>(address >> 8);
    bytes[1] = static_cast<unsigned char>(address);
}

} // namespace

EEPROM::~EEPROM() = default;

void EEPROM::init()
{
    getPMX().init();
    getI2C().init();
}

void EEPROM::read(unsigned int address, unsigned char* buffer, unsigned int length)
{
    unsigned char selection[addressBytes];
    encodeAddress(selection, address);
    getI2C().write(EEPROM_I2C_ADDR, selection, sizeof selection);
    getI2C().read(EEPROM_I2C_ADDR, buffer, length);
}

void EEPROM::write(unsigned int address, unsigned char const* data, unsigned int length,
                   bool checkRange)
{
    constexpr unsigned int writeCycleMs = 5;
    static unsigned char cbuf[addressBytes + EEPROM_PAGE_SIZE];
    if (checkRange && static_cast<std::uint64_t>(address) + length > EEPROM_SIZE)
        throw Exception(fileName, __LINE__, AccessProtected, nullptr);
    for (unsigned int offset = 0; offset < length; offset += EEPROM_PAGE_SIZE) {
        encodeAddress(cbuf, address + offset);
        std::memcpy(cbuf + addressBytes, data + offset, EEPROM_PAGE_SIZE);
        getI2C().write(EEPROM_I2C_ADDR, cbuf, sizeof cbuf);
        waitmsec(writeCycleMs);
    }
}

EEPROM& getEEPROM()
{
    return eeprom;
}

} // namespace KORVA::DTC::PERIPH
