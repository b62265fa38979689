#include "tools/dtcctl.h"

#include "build_version.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

namespace {

int run(int argc, char** argv)
{
    int status = dtcctl::ExitOk;
    CLI::App app("Serve, reach and look after a DTC debug and trace probe.", "dtcctl");
    app.set_version_flag("--version", "dtcctl " SKYLARK_BUILD_VERSION);
    app.require_subcommand(1);
    app.failure_message(CLI::FailureMessage::simple);
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
        return run(argc, argv);
    } catch (dtcctl::UsageError const& error) {
        std::fprintf(stderr, "dtcctl: %s\n", error.what());
        return dtcctl::ExitUsage;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "dtcctl: %s\n", error.what());
        return dtcctl::ExitFailed;
    }
}
