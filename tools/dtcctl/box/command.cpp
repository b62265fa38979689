#include "platform/simulated/box_files.h"

#include "tools/dtcctl/box/json.h"
#include "tools/dtcctl/box/state.h"
#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/text.h"

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace dtcctl {
namespace {

struct BoxOptions
{
    bool watch = false;
    bool json = false;
    bool renew = false;
};

void printField(char const* name, std::string const& value)
{
    std::printf("%-18s%s\n", name, value.c_str());
}

std::string hex(unsigned int value, int digits)
{
    char text[sizeof "0x00000000"];
    std::snprintf(text, sizeof text, "0x%0*x", digits, value);
    return text;
}

/// For example "2.17 (0x0211)".
std::string revision(unsigned int value)
{
    return std::to_string(value >> 8) + "." + std::to_string(value & 0xFF) + " (" + hex(value, 4) +
           ")";
}

std::string sizeText(std::uintmax_t bytes)
{
    return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

void printLines(char const* name, std::vector<std::string> const& lines, char const* ifNone)
{
    if (lines.empty())
        return printField(name, ifNone);
    std::printf("%s\n", name);
    for (std::string const& line : lines)
        std::printf("  %s\n", line.c_str());
}

void printFlash(std::vector<BoxPartition> const& flash)
{
    for (BoxPartition const& partition : flash) {
        printField(("flash " + printable(partition.name)).c_str(), sizeText(partition.sizeBytes));
        for (BoxFile const& file : partition.files)
            std::printf("  %s, %s\n", printable(file.name).c_str(),
                        sizeText(file.sizeBytes).c_str());
    }
}

void print(BoxState const& state)
{
    printField("directory", printable(state.directory));
    for (std::size_t i = 0; i < state.leds.size(); ++i)
        printField(("LED " + std::to_string(i)).c_str(), state.leds[i]);
    printField("FPGA reset", state.fpgaReset);
    printField("box reset", state.boxReset);
    printField("board revision", std::to_string(state.boardRevision));
    printField("FPGA revision", revision(state.fpgaRevision));
    printField("pin multiplexer",
               hex(state.pinMultiplexer[0], 8) + " " + hex(state.pinMultiplexer[1], 8));
    printLines("EEPROM", state.eepromText, state.isEepromErased ? "erased" : "data, but no text");
    printFlash(state.flash);
    printField("root file system", state.rootFileSystem);
    printField("network",
               state.network +
                   (state.address.empty() ? "" : ", address " + printable(state.address)));
    printLines("last transfers", state.transfers, "none");
    printLines("last commands", state.commands, "none");
}

void watch()
{
    constexpr unsigned int redrawIntervalMs = 1000;
    constexpr char const* clearScreen = "\033[H\033[2J";
    catchInterrupts();
    while (!interrupted()) {
        BoxState const state = lookAtBox();
        std::fputs(isatty(STDOUT_FILENO) == 1 ? clearScreen : "", stdout);
        print(state);
        sleepUnlessInterrupted(redrawIntervalMs);
    }
}

void show(BoxOptions const& options)
{
    if (options.renew) {
        KORVA::DTC::PLATFORM::renewBox();
        std::printf("the box in %s is new\n", KORVA::DTC::PLATFORM::boxRoot().c_str());
    } else if (options.watch) {
        watch();
    } else if (options.json) {
        std::puts(toJson(lookAtBox()).c_str());
    } else {
        print(lookAtBox());
    }
}

} // namespace

void addBox(CLI::App& program)
{
    auto const options = std::make_shared<BoxOptions>();
    CLI::App& command = *program.add_subcommand("box", "Look at the simulated box");
    CLI::Option* const watching =
        command.add_flag("--watch", options->watch, "Look again each second, until interrupted");
    CLI::Option* const json = command.add_flag("--json", options->json, "As one JSON object");
    command.add_flag("--new", options->renew, "Make the box new; what it holds is lost")
        ->excludes(watching)
        ->excludes(json);
    json->excludes(watching);
    command.callback([options] { show(*options); });
}

} // namespace dtcctl
