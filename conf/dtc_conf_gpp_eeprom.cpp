#include "conf/dtc_conf_gpp_eeprom.h"

#include "conf/dtc_conf_gpp_bus.h"
#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_place.h"
#include "conf/dtc_conf_status.h"
#include "periph/dtc_periph_eeprom.h"

#include <cstring>

namespace {

using namespace KORVA::DTC;
using CONF::OperationFailed;
using CONF::VariableList;
using PERIPH::EEPROM_PAGE_SIZE;
using PERIPH::EEPROM_SIZE;

} // namespace

void readVarsFromEeprom(VariableList& vars)
{
    std::vector<char> image(EEPROM_SIZE, '\0');
    bool terminated = false;
    CONF::withEeprom(
        CONF::PeripheralAccessFailed, "unable to read EEPROM", [&](PERIPH::EEPROM& eeprom) {
            for (unsigned int offset = 0; offset < EEPROM_SIZE && !terminated;
                 offset += EEPROM_PAGE_SIZE) {
                eeprom.read(offset, reinterpret_cast<unsigned char*>(&image[offset]),
                            EEPROM_PAGE_SIZE);
                terminated = std::memchr(&image[offset], '\0', EEPROM_PAGE_SIZE) != nullptr;
            }
        });
    if (terminated)
        CONF::bufToVars(vars, image.data(), EEPROM_SIZE);
    removeNonEepromVars(vars);
}

void writeVarsToEeprom(VariableList const& vars)
{
    VariableList stored = vars;
    removeNonEepromVars(stored);
    std::vector<char> image(EEPROM_SIZE, '\0');
    unsigned int index = 0;
    CONF::varsToBuf(stored, image.data(), EEPROM_SIZE, index);
    if (index != 0)
        throw CONF::Exception(CONF::gppFileName, __LINE__, OperationFailed,
                              "configuration variables too large for EEPROM");
    CONF::withEeprom(OperationFailed, "unable to write EEPROM", [&](PERIPH::EEPROM& eeprom) {
        auto const used = static_cast<unsigned int>(std::strlen(image.data())) + 1;
        unsigned int const pages = (used + EEPROM_PAGE_SIZE - 1) / EEPROM_PAGE_SIZE;
        eeprom.write(0, reinterpret_cast<unsigned char const*>(image.data()),
                     pages * EEPROM_PAGE_SIZE, true);
    });
}
