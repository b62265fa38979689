/// The variables that the running system holds, and the runner of the box's shell commands.
///
/// What is said of failures holds for starting the shell only: a command that runs and fails goes
/// unnoticed, and its output is what there is.
#pragma once

#include "../util/export.h"
#include "dtc_conf_vars.h"

#include <string>

namespace KORVA::DTC::CONF {

/// Runs the command, without its line ends, under the box's shell and waits for its end. Words in
/// it that come from elsewhere are the caller's to quote.
///
/// Unless buffer is null, stores the beginning of its standard output, up to the first byte that is
/// 0 or above 0x7F, in the size bytes there, terminated; what does not fit is lost. While logging
/// is enabled, command and output are logged. With a null buffer the output is discarded and not
/// logged. A size of 0 stores nothing. Waits until all who hold that output have closed it, a
/// service that the command starts included. Threads may call it at the same time.
///
/// Throws Exception: NullParameter for a null command, SystemCallFailed when the shell cannot be
/// started.
KORVA_API void popenWithStdout(char const* command, char* buffer, unsigned int size);

// What follows is for the library itself, which does not let it out.

/// The text as one word of a shell command: as it stands when it has only letters, digits and
/// "._:/+-", otherwise in single quotes. Whatever it holds, it cannot become a second command or a
/// second word.
std::string shellWord(std::string const& text);

} // namespace KORVA::DTC::CONF

/// Sets mac to the (17) characters of the network interface's hardware address and ip to its IPv4
/// address, or either to "none". The interface is eth0, or usb0 when the environment variables
/// ROVERKIT and RNDISMODE are both true. When nothing is known of it, throws CONF::Exception
/// (SystemCallFailed), or leaves mac and ip alone if ROVERKIT is true. Throws uString::error when
/// one of the two is set to no boolean.
void getMacAndIpAddr(std::string& mac, std::string& ip);

/// Sets the variables named time in the list to the system's clock, "2013/05/14 09:30:00", or
/// "none" before 1970 and when the clock cannot be read. Throws CONF::Exception (SystemCallFailed).
void readVarsFromSys(KORVA::DTC::CONF::VariableList& vars);

/// Sets the system's clock to the variables named time in the list, in the form above, unless they
/// are "none". A clock that refuses its value goes unnoticed. Throws as readVarsFromSys.
void writeVarsToSys(KORVA::DTC::CONF::VariableList const& vars);
