/// dtcctl: one program with a subcommand for each task, built on the library's public interface.
///
/// Results go to standard output, errors to standard error with the library's own text. Exit
/// status: 0, 1 (it failed) or 2 (used wrongly).
#pragma once

#include "tools/dtcctl_failure.h"

#include <CLI/App.hpp>

namespace dtcctl {

// Each adds its subcommand, which stores its exit status in status when it has run.
void addServe(CLI::App& app, int& status);
void addSend(CLI::App& app, int& status);
void addPing(CLI::App& app, int& status);
void addListen(CLI::App& app, int& status);
void addAdapter(CLI::App& app, int& status);
void addWho(CLI::App& app, int& status);
void addLed(CLI::App& app, int& status);
void addFpga(CLI::App& app, int& status);
void addEeprom(CLI::App& app, int& status);
void addReset(CLI::App& app, int& status);
void addVars(CLI::App& app, int& status);
void addChecksum(CLI::App& app, int& status);
void addFirmware(CLI::App& app, int& status);

/// Adds nothing in a build for the real box, where there is no simulated one to show.
void addBox(CLI::App& app, int& status);

/// For the completion of shells: tools/dtcctl.bash.
void addComplete(CLI::App& app, int& status);

} // namespace dtcctl
