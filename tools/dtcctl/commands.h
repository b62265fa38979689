/// dtcctl: one program with a subcommand for each task, built on the library's public interface.
///
/// Results go to standard output, errors to standard error with the library's own text. Exit
/// status: 0, 1 (it failed) or 2 (used wrongly).
#pragma once

#include <CLI/CLI.hpp>

namespace dtcctl {

// Each adds its subcommand; the table in main.cpp calls them. A subcommand fails by an exception:
// one of support/failure.h, or CLI::RuntimeError where the results tell what failed.
void addServe(CLI::App& program);
void addSend(CLI::App& program);
void addPing(CLI::App& program);
void addListen(CLI::App& program);
void addAdapter(CLI::App& program);
void addWho(CLI::App& program);
void addVars(CLI::App& program);
void addChecksum(CLI::App& program);
void addFirmware(CLI::App& program);
void addLed(CLI::App& program);
void addFpga(CLI::App& program);
void addEeprom(CLI::App& program);
void addReset(CLI::App& program);

/// Adds nothing in a build for the real box, where there is no simulated one to show.
void addBox(CLI::App& program);

/// For the completion of shells: completion.bash.
void addComplete(CLI::App& program);

} // namespace dtcctl
