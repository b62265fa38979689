#include "conf/dtc_conf_schema.h"

#include "util/build_info.h"

namespace KORVA::DTC::CONF {

namespace VALUE {
constexpr char const* True = "true";
constexpr char const* False = "false";
constexpr char const* None = "none";
constexpr char const* Dhcp = "dhcp";
constexpr char const* Off = "off";
constexpr char const* local = "local";
} // namespace VALUE

namespace NAME {
constexpr char const* addrConf = "addrConf";
constexpr char const* addrIo = "addrIo";
constexpr char const* boardRev = "boardRev";
constexpr char const* dtcName = "dtcName";
constexpr char const* epkRev = "epkRev";
constexpr char const* fpgaRev = "fpgaRev";
constexpr char const* ipAddress = "ipAddress";
constexpr char const* ipBroadcast = "ipBroadcast";
constexpr char const* ipClient = "ipClient";
constexpr char const* ipConfig = "ipConfig";
constexpr char const* ipGateway = "ipGateway";
constexpr char const* ipHwaddress = "ipHwaddress";
constexpr char const* ipLeasehours = "ipLeasehours";
constexpr char const* ipLeasetime = "ipLeasetime";
constexpr char const* ipMtu = "ipMtu";
constexpr char const* ipNetmask = "ipNetmask";
constexpr char const* ipNetwork = "ipNetwork";
constexpr char const* ipPointopoint = "ipPointopoint";
constexpr char const* productClass = "productClass";
constexpr char const* productName = "productName";
constexpr char const* safeMode = "safeMode";
constexpr char const* serialNum = "serialNum";
constexpr char const* swBuildTime = "swBuildTime";
constexpr char const* swRev = "swRev";
constexpr char const* time = "time";
constexpr char const* vendorName = "vendorName";
constexpr char const* _control = "_control";
constexpr char const* _error = "_error";
constexpr char const* _ipFilter = "_ipFilter";
constexpr char const* _logEnable = "_logEnable";
constexpr char const* _logMask = "_logMask";
constexpr char const* _quietPeriod = "_quietPeriod";
constexpr char const* _state = "_state";
constexpr char const* _fpgaImageName = "_fpgaImageName";
constexpr char const* standbyEnable = "standbyEnable";
constexpr char const* standbyMinutes = "standbyMinutes";
constexpr char const* _rndisMode = "_rndisMode";
constexpr char const* _rndisConfig = "_rndisConfig";
constexpr char const* _fpgaNoReset = "_fpgaNoReset";
constexpr char const* _fpgaForceLoad = "_fpgaForceLoad";
constexpr char const* _bootForce = "_bootForce";
} // namespace NAME

namespace CONTROL {
constexpr char const* AllowUnsafeUpdate = "AllowUnsafeUpdate";
constexpr char const* AllowUnsafeRestore = "AllowUnsafeRestore";
constexpr char const* EnableInetd = "EnableInetd";
constexpr char const* ReadFpga = "ReadFpga";
} // namespace CONTROL

namespace {

// Readable, writable, stored. Not const only because getSchema hands it out so.
SchemaEntry schema[] = {
    {NAME::addrConf, ":55756", true, true, true},
    {NAME::addrIo, ":55755", true, true, true},
    {NAME::boardRev, VALUE::None, true, false, false},
    {NAME::dtcName, VALUE::None, true, true, true},
    {NAME::epkRev, buildVersion, true, false, false},
    {NAME::fpgaRev, VALUE::None, true, false, false},
    {NAME::ipAddress, VALUE::None, true, false, false},
    {NAME::ipBroadcast, VALUE::None, true, true, true},
    {NAME::ipClient, VALUE::None, true, false, false},
    {NAME::ipConfig, VALUE::Dhcp, true, true, true},
    {NAME::ipGateway, VALUE::None, true, true, true},
    {NAME::ipHwaddress, VALUE::None, true, true, true},
    {NAME::ipLeasehours, VALUE::None, true, true, true},
    {NAME::ipLeasetime, VALUE::None, true, true, true},
    {NAME::ipMtu, VALUE::None, true, true, true},
    {NAME::ipNetmask, VALUE::None, true, true, true},
    {NAME::ipNetwork, VALUE::None, true, true, true},
    {NAME::ipPointopoint, VALUE::None, true, true, true},
    {NAME::productClass, "SKYMAX", true, false, false},
    {NAME::productName, "Skymax Trace Receiver", true, false, false},
    {NAME::safeMode, VALUE::False, true, true, false},
    {NAME::serialNum, VALUE::None, true, false, false},
    {NAME::swBuildTime, buildTime, true, false, false},
    {NAME::swRev, buildVersion, true, false, false},
    {NAME::time, VALUE::None, true, true, false},
    {NAME::vendorName, "Korvane", true, false, false},
    {NAME::_control, VALUE::None, true, true, false},
    {NAME::_error, VALUE::None, true, false, false},
    {NAME::_ipFilter, VALUE::None, true, true, true},
    {NAME::_logEnable, VALUE::False, true, true, true},
    {NAME::_logMask, "1", true, true, true},
    {NAME::_quietPeriod, "15", true, false, false},
    {NAME::_state, VALUE::None, true, true, true},
    {NAME::_fpgaImageName, "skylarkmax.xsvf", true, true, true},
    {nullptr, nullptr, false, false, false},
};

} // namespace

void getSchema(SchemaEntry*& rows)
{
    rows = schema;
}

} // namespace KORVA::DTC::CONF

void getDefaultVars(KORVA::DTC::CONF::VariableList& vars)
{
    KORVA::DTC::CONF::SchemaEntry* row = nullptr;
    for (KORVA::DTC::CONF::getSchema(row); row->name != nullptr; ++row)
        vars.emplace_back(row->name, row->defaultValue);
}
