/// The vocabulary of the configuration: variable names, value words, control words, and the schema
/// that gives each known variable its default. All of it is constant, and usable from any static
/// constructor.
#pragma once

#include "../util/export.h"
#include "dtc_conf_vars.h"

namespace KORVA::DTC::CONF {

namespace VALUE {
extern KORVA_API char const* const True;
extern KORVA_API char const* const False;
extern KORVA_API char const* const None;
extern KORVA_API char const* const Dhcp;
extern KORVA_API char const* const Off;
extern KORVA_API char const* const local;
} // namespace VALUE

/// Each text equals its constant's name.
namespace NAME {
extern KORVA_API char const* const addrConf;
extern KORVA_API char const* const addrIo;
extern KORVA_API char const* const boardRev;
extern KORVA_API char const* const dtcName;
extern KORVA_API char const* const epkRev;
extern KORVA_API char const* const fpgaRev;
extern KORVA_API char const* const ipAddress;
extern KORVA_API char const* const ipBroadcast;
extern KORVA_API char const* const ipClient;
extern KORVA_API char const* const ipConfig;
extern KORVA_API char const* const ipGateway;
extern KORVA_API char const* const ipHwaddress;
extern KORVA_API char const* const ipLeasehours;
extern KORVA_API char const* const ipLeasetime;
extern KORVA_API char const* const ipMtu;
extern KORVA_API char const* const ipNetmask;
extern KORVA_API char const* const ipNetwork;
extern KORVA_API char const* const ipPointopoint;
extern KORVA_API char const* const productClass;
extern KORVA_API char const* const productName;
extern KORVA_API char const* const safeMode;
extern KORVA_API char const* const serialNum;
extern KORVA_API char const* const swBuildTime;
extern KORVA_API char const* const swRev;
extern KORVA_API char const* const time;
extern KORVA_API char const* const vendorName;
extern KORVA_API char const* const _control;
extern KORVA_API char const* const _error;
extern KORVA_API char const* const _ipFilter;
extern KORVA_API char const* const _logEnable;
extern KORVA_API char const* const _logMask;
extern KORVA_API char const* const _quietPeriod;
extern KORVA_API char const* const _state;
extern KORVA_API char const* const _fpgaImageName;

// Without a row in the schema: for other programs. Of them only standbyMinutes is acted on here,
// by Vars::write.
extern KORVA_API char const* const standbyEnable;
extern KORVA_API char const* const standbyMinutes;
extern KORVA_API char const* const _rndisMode;
extern KORVA_API char const* const _rndisConfig;
extern KORVA_API char const* const _fpgaNoReset;
extern KORVA_API char const* const _fpgaForceLoad;
extern KORVA_API char const* const _bootForce;
} // namespace NAME

/// Values of the variable _control; each text equals its constant's name.
namespace CONTROL {
extern KORVA_API char const* const AllowUnsafeUpdate;
extern KORVA_API char const* const AllowUnsafeRestore;
extern KORVA_API char const* const EnableInetd;
extern KORVA_API char const* const ReadFpga;
} // namespace CONTROL

struct SchemaEntry
{
    char const* name;         ///< null in the row behind the last
    char const* defaultValue; ///< null there too
    bool readable;            ///< readable and writable are advice: nothing here enforces them
    bool writable;
    bool stored; ///< kept in the EEPROM image
};

/// Sets rows to the first of 34 rows, which a row with a null name follows. They are the library's,
/// and must not be changed or freed.
KORVA_API void getSchema(SchemaEntry*& rows);

/// The row of a variable, or null.
inline SchemaEntry const* findInSchema(std::string const& name)
{
    SchemaEntry* row = nullptr;
    for (getSchema(row); row->name != nullptr; ++row) {
        if (name == row->name)
            return row;
    }
    return nullptr;
}

} // namespace KORVA::DTC::CONF

// Outside the namespace: for the library itself, which does not let it out.

/// Appends the 34 variables with their defaults, in the order of the schema, behind what the list
/// holds.
void getDefaultVars(KORVA::DTC::CONF::VariableList& vars);
