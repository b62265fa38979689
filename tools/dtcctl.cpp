#include "tools/dtcctl.h"

#include "build_version.h"

#include <cerrno>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

namespace {

/// What the parser says of a wrong command line, as all errors begin, with the word that it stands
/// for where it only misses one.
std::string usageMessage(CLI::App const* app, CLI::Error const& error)
{
    std::vector<std::string> const rest = app->remaining(true);
    bool const isMistyped = error.get_name() == "RequiredError" && !rest.empty();
    return "dtcctl: " +
           (isMistyped ? "\"" + rest.front() + "\": no such subcommand or option" : error.what()) +
           "\nRun with --help for more information.\n";
}

int run(int argc, char** argv)
{
    int status = dtcctl::ExitOk;
    CLI::App app("Serve, reach and look after a DTC debug and trace probe.", "dtcctl");
    app.set_version_flag("--version", "dtcctl " SKYLARK_BUILD_VERSION);
    app.require_subcommand(1);
    app.failure_message(usageMessage);
    app.footer(
        "Exit status: 0, 1 (it failed) or 2 (used wrongly). On a desk DTC_BOX_ROOT names the "
        "simulated box's directory.");
    dtcctl::addServe(app, status);
    dtcctl::addSend(app, status);
    dtcctl::addPing(app, status);
    dtcctl::addListen(app, status);
    dtcctl::addAdapter(app, status);
    dtcctl::addWho(app, status);
    dtcctl::addVars(app, status);
    dtcctl::addChecksum(app, status);
    dtcctl::addFirmware(app, status);
    dtcctl::addLed(app, status);
    dtcctl::addFpga(app, status);
    dtcctl::addEeprom(app, status);
    dtcctl::addReset(app, status);
    dtcctl::addBox(app, status);
    dtcctl::addComplete(app, status);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return app.exit(error) == 0 ? dtcctl::ExitOk : dtcctl::ExitUsage;
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // a line is seen at once, also through a pipe
    try {
        int const status = run(argc, argv);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            throw dtcctl::Failure(std::string("cannot write standard output: ") +
                                  std::strerror(errno));
        return status;
    } catch (dtcctl::UsageError const& error) {
        std::fprintf(stderr, "dtcctl: %s\n", error.what());
        return dtcctl::ExitUsage;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "dtcctl: %s\n", error.what());
        return dtcctl::ExitFailed;
    }
}
