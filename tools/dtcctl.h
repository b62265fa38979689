/// dtcctl: one program with a subcommand for each task, built on the library's public interface.
///
/// Results go to standard output, errors to standard error with the library's own text. Exit
/// status: 0, 1 (it failed) or 2 (used wrongly).
#pragma once

#include "tools/dtcctl_command.h"
#include "tools/dtcctl_failure.h"

namespace dtcctl {

// Each adds its subcommand. Most fail by an exception only; status is what the others exit with.
void addServe(Command const& program);
void addSend(Command const& program);
void addPing(Command const& program, int& status);
void addListen(Command const& program);
void addAdapter(Command const& program, int& status);
void addWho(Command const& program);
void addLed(Command const& program);
void addFpga(Command const& program);
void addEeprom(Command const& program);
void addReset(Command const& program);
void addVars(Command const& program);
void addChecksum(Command const& program);
void addFirmware(Command const& program);

/// Adds nothing in a build for the real box, where there is no simulated one to show.
void addBox(Command const& program);

/// For the completion of shells: tools/dtcctl.bash.
void addComplete(Command const& program);

} // namespace dtcctl
