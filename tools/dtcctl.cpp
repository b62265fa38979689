#include "tools/dtcctl.h"

#include "build_version.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

namespace {

int run(int argc, char** argv)
{
    int status = dtcctl::ExitOk;
    dtcctl::CommandLine line("dtcctl", "Serve, reach and look after a DTC debug and trace probe.",
                             "dtcctl " SKYLARK_BUILD_VERSION);
    dtcctl::Command const program = line.program();
    program.footer(
        "Exit status: 0, 1 (it failed) or 2 (used wrongly). On a desk DTC_BOX_ROOT names the "
        "simulated box's directory.");
    dtcctl::addServe(program);
    dtcctl::addSend(program);
    dtcctl::addPing(program, status);
    dtcctl::addListen(program);
    dtcctl::addAdapter(program, status);
    dtcctl::addWho(program);
    dtcctl::addVars(program);
    dtcctl::addChecksum(program);
    dtcctl::addFirmware(program);
    dtcctl::addLed(program);
    dtcctl::addFpga(program);
    dtcctl::addEeprom(program);
    dtcctl::addReset(program);
    dtcctl::addBox(program);
    dtcctl::addComplete(program);
    return line.run(argc, argv) ? status : dtcctl::ExitUsage;
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
