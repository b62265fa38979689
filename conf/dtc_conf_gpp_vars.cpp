/// Reading, writing and restoring the whole configuration.
#include "conf/dtc_conf_gpp_bus.h"
#include "conf/dtc_conf_gpp_control.h"
#include "conf/dtc_conf_gpp_eeprom.h"
#include "conf/dtc_conf_gpp_fpga.h"
#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"
#include "platform/platform.h"
#include "util/regular_file.h"
#include "util/ustring.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace KORVA::DTC::CONF {
namespace {

/// The board revision takes several transfers, which those of another process must not come
/// between.
void readHardware(VariableList& vars)
{
    BusTurn const turn;
    readVarsFromFpga(vars);
}

/// What every read begins with: the defaults, the EEPROM's over them, the system's and the
/// hardware's over those.
void readSources(VariableList& vars)
{
    getDefaultVars(vars);
    VariableList stored;
    readVarsFromEeprom(stored);
    updateVars(vars, stored);
    readVarsFromSys(vars);
    readHardware(vars);
}

bool isNetworkSwitchedOff()
{
    char const* const setting = std::getenv("IPCONFIG");
    return setting != nullptr && std::strcmp(setting, VALUE::Off) == 0;
}

std::string safeModeFromEnvironment()
{
    char const* const setting = std::getenv("SAFEMODE");
    return setting != nullptr && uString::ToBool(setting) ? VALUE::True : VALUE::False;
}

/// What follows the first 64 KiB, which no record has, is not looked at: it might never end.
std::string firstWord(std::FILE* file)
{
    std::string word;
    for (int left = 1 << 16; left > 0; --left) {
        int const character = std::getc(file);
        bool const isSpace = character != EOF && std::isspace(character) != 0;
        if (character == EOF || (isSpace && !word.empty()))
            break;
        if (!isSpace)
            word.push_back(static_cast<char>(character));
    }
    return word;
}

std::string recordedClient()
{
    FileStream const record = openRegularFile(PLATFORM::path("/tmp/ip_client"));
    std::string const word = record != nullptr ? firstWord(record.get()) : "";
    return !word.empty() ? word : VALUE::None;
}

/// The addresses of the network interface, asked for when first needed.
class InterfaceAddresses
{
public:
    std::string const& mac() { return filled(m_mac); }
    std::string const& ip() { return filled(m_ip); }

private:
    std::string const& filled(std::string const& text)
    {
        if (text.empty())
            getMacAndIpAddr(m_mac, m_ip);
        return text;
    }

    std::string m_mac;
    std::string m_ip;
};

void applyLiveValue(std::string const& name, std::string& value, InterfaceAddresses& addresses)
{
    if (name == NAME::serialNum)
        value = addresses.mac();
    else if (name == NAME::ipAddress)
        value = addresses.ip();
    else if (name == NAME::safeMode)
        value = safeModeFromEnvironment();
    else if (name == NAME::ipConfig && isNetworkSwitchedOff())
        value = VALUE::Off;
    else if (name == NAME::_control)
        getControl(value);
    else if (name == NAME::_error)
        value = g_error.get();
    else if (name == NAME::ipClient)
        value = recordedClient();
    else if (name == NAME::standbyMinutes) // for lists of callers: no source adds the pair
        value = g_standbyMinutes.get();
}

/// A page outside the configuration area, for the boot code: nothing here reads it.
void writeBootProgress(std::string const& safeMode)
{
    constexpr unsigned int recordAddress = 32576;
    std::array<unsigned char, PERIPH::EEPROM_PAGE_SIZE> page{};
    if (safeMode == VALUE::False) {
        page[0] = 3;
        page[1] = 10;
    }
    withEeprom(OperationFailed, "unable to write bootProgress", [&](PERIPH::EEPROM& eeprom) {
        eeprom.write(recordAddress, page.data(), PERIPH::EEPROM_PAGE_SIZE, false);
    });
}

void actOn(std::string const& name, std::string const& value)
{
    if (name == NAME::safeMode)
        writeBootProgress(value);
    else if (name == NAME::_control)
        setControl(value.c_str());
    else if (name == NAME::_error)
        setError(value.c_str());
    else if (name == NAME::standbyMinutes)
        setStandbyMinutes(value);
}

} // namespace

void Vars::read()
{
    clear();
    readSources(*this);
    InterfaceAddresses addresses;
    for (auto& [name, value] : *this)
        applyLiveValue(name, value, addresses);
    flashLED(PERIPH::getI2CLed2(), 1);
}

void Vars::write()
{
    VariableList current;
    readSources(current);
    if (isNetworkSwitchedOff()) {
        auto const found = std::find_if(
            begin(), end(), [](auto const& pair) { return pair.first == NAME::ipConfig; });
        if (found != end())
            erase(found);
    }
    updateVars(current, *this);
    writeVarsToEeprom(current);
    writeVarsToSys(current);
    for (auto const& [name, value] : *this)
        actOn(name, value);
    flashLED(PERIPH::getI2CLed2(), 2);
}

void Vars::restore()
{
    read();
    if (getVar(NAME::safeMode) == VALUE::True &&
        getVar(NAME::_control) != CONTROL::AllowUnsafeRestore)
        return;
    clear();
    getDefaultVars(*this);
    write();
}

} // namespace KORVA::DTC::CONF
