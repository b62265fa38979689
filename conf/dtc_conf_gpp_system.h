/// The variables that the running system holds, and the runner of the box's shell commands.
#pragma once

#include "util/export.h"

#include <string>
#include <utility>
#include <vector>

namespace KORVA::DTC::CONF {

/// Runs the command, without its line ends, under the box's shell and waits for its end; its exit
/// status does not count. Unless buffer is null, stores the beginning of its standard output, up to
/// the first byte of 0x80 or more, in the size bytes there, always terminated, and logs command and
/// output. Throws NullParameter for a null command and SystemCallFailed when the shell cannot be
/// started.
KORVA_API void popenWithStdout(char const* command, char* buffer, unsigned int size);

} // namespace KORVA::DTC::CONF

/// Sets mac to the 17 characters of the network interface's hardware address and ip to its IPv4
/// address, or either to "none". Leaves both alone when the box's USB variant has no interface;
/// otherwise throws SystemCallFailed then.
void getMacAndIpAddr(std::string& mac, std::string& ip);

/// Sets the variables named time in the list to the system's clock, "2013/05/14 09:30:00", or
/// "none" before 1970.
void readVarsFromSys(std::vector<std::pair<std::string, std::string>>& vars);

/// Sets the system's clock to the variables named time in the list, unless they are "none".
void writeVarsToSys(std::vector<std::pair<std::string, std::string>> const& vars);
