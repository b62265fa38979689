/// The EEPROM on the I2C bus. Locks as for I2C; write keeps its transfer buffer between calls, so
/// it is for one thread at a time in any case.
#pragma once

#include "../util/export.h"

namespace KORVA::DTC::PERIPH {

constexpr unsigned int EEPROM_PAGE_SIZE = 64;
constexpr unsigned int EEPROM_NUM_PAGES = 256;
constexpr unsigned int EEPROM_SIZE =
    EEPROM_PAGE_SIZE * EEPROM_NUM_PAGES; ///< of the configuration area

class KORVA_API EEPROM
{
public:
    virtual ~EEPROM();

    /// Switches the bus's pins and opens the bus; before the others. Throws MapFailed or
    /// OperationFailed.
    void init();

    /// Reads length bytes from the address on, in one transfer, so at most as many as I2C::read
    /// does. The range is not checked.
    void read(unsigned int address, unsigned char* buffer, unsigned int length);

    /// Writes whole pages of 64 bytes: data must hold length bytes raised to the next multiple of
    /// 64, and the bytes beyond length are written too. The address must be a multiple of 64, or
    /// each page wraps round inside itself. Waits 5 ms after each page for the part's write cycle.
    /// With checkRange, throws AccessProtected before the first transfer when address + length
    /// exceeds EEPROM_SIZE; OperationFailed in the middle leaves the pages before written.
    void write(unsigned int address, unsigned char const* data, unsigned int length,
               bool checkRange);
};

KORVA_API EEPROM& getEEPROM();

} // namespace KORVA::DTC::PERIPH
