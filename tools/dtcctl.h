/// dtcctl: one program with a subcommand for each task, built on the library's public interface.
///
/// Results go to standard output, errors to standard error with the library's own text. Exit
/// status: 0, 1 (it failed) or 2 (used wrongly).
#pragma once

#include <CLI/App.hpp>
#include <stdexcept>

namespace dtcctl {

constexpr int ExitOk = 0;
constexpr int ExitFailed = 1;
constexpr int ExitUsage = 2;

/// Used wrongly: what the command line asks for makes no sense.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// It failed: the text says what and why.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

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

} // namespace dtcctl
