#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/failure.h"

#include "build_version.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

namespace {

/// In the order in which the help tells them.
constexpr void (*subcommands[])(CLI::App&) = {
    dtcctl::addServe,    dtcctl::addSend, dtcctl::addPing,     dtcctl::addListen,
    dtcctl::addAdapter,  dtcctl::addWho,  dtcctl::addVars,     dtcctl::addChecksum,
    dtcctl::addFirmware, dtcctl::addLed,  dtcctl::addFpga,     dtcctl::addEeprom,
    dtcctl::addReset,    dtcctl::addBox,  dtcctl::addComplete,
};

/// What the parser says of a wrong command line, as all errors begin, with the word that it stands
/// for where it only misses one.
std::string usageMessage(CLI::App const* parser, CLI::Error const& error)
{
    std::vector<std::string> const rest = parser->remaining(true);
    bool const isMistyped = error.get_name() == "RequiredError" && !rest.empty();
    return parser->get_name() + ": " +
           (isMistyped ? "\"" + rest.front() + "\": no such subcommand or option" : error.what()) +
           "\nRun with --help for more information.\n";
}

int run(int argc, char** argv)
{
    CLI::App program("Serve, reach and look after a DTC debug and trace probe.", "dtcctl");
    program.set_version_flag("--version", "dtcctl " SKYLARK_BUILD_VERSION);
    program.footer(
        "Exit status: 0, 1 (it failed) or 2 (used wrongly). On a desk DTC_BOX_ROOT names the "
        "simulated box's directory.");
    program.failure_message(usageMessage);
    program.require_subcommand(1);
    program.option_defaults()->always_capture_default(); // a list says that it has none
    for (auto const add : subcommands)
        add(program);
    try {
        program.parse(argc, argv);
    } catch (CLI::RuntimeError const& error) {
        return error.get_exit_code(); // what failed is among the results
    } catch (CLI::ParseError const& error) {
        return program.exit(error) == 0 ? dtcctl::ExitOk : dtcctl::ExitUsage;
    }
    return dtcctl::ExitOk;
}

void flushOutput()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw dtcctl::Failure(std::string("cannot write standard output: ") + std::strerror(errno));
}

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // a line is seen at once, also through a pipe
    try {
        int const status = run(argc, argv);
        flushOutput();
        return status;
    } catch (dtcctl::UsageError const& error) {
        std::fprintf(stderr, "dtcctl: %s\n", error.what());
        return dtcctl::ExitUsage;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "dtcctl: %s\n", error.what());
        return dtcctl::ExitFailed;
    }
}
