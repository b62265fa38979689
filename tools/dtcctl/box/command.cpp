#include "platform/simulated/box_files.h"

#include "tools/dtcctl/box/state.h"
#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/interrupt.h"

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

void printField(std::string const& name, std::string const& value)
{
    std::printf("%-18s%s\n", name.c_str(), printable(value).c_str());
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

std::string sizeText(Json const& bytes)
{
    return bytes.dump() + (bytes == 1 ? " byte" : " bytes");
}

void printLines(char const* name, Json const& lines, char const* ifNone)
{
    if (lines.empty())
        return printField(name, ifNone);
    std::printf("%s\n", name);
    for (Json const& line : lines)
        std::printf("  %s\n", line.get<std::string>().c_str());
}

void printFlash(Json const& flash)
{
    for (Json const& partition : flash) {
        printField("flash " + printable(partition["name"]), sizeText(partition["bytes"]));
        for (Json const& file : partition.value("files", Json::array()))
            std::printf("  %s, %s\n", printable(file["name"]).c_str(),
                        sizeText(file["bytes"]).c_str());
    }
}

void print(Json const& state)
{
    printField("directory", state["directory"]);
    for (std::size_t i = 0; i < state["leds"].size(); ++i)
        printField("LED " + std::to_string(i), state["leds"][i]);
    printField("FPGA reset", state["resets"]["fpga"]);
    printField("box reset", state["resets"]["box"]);
    printField("board revision", state["board_revision"].dump());
    printField("FPGA revision", revision(state["fpga_revision"]));
    Json const& multiplexer = state["pin_multiplexer"];
    printField("pin multiplexer", hex(multiplexer[0], 8) + " " + hex(multiplexer[1], 8));
    Json const& eeprom = state["eeprom"];
    printLines("EEPROM", eeprom["text"], eeprom["erased"] ? "erased" : "data, but no text");
    printFlash(state["flash"]);
    printField("root file system", state["root_file_system"]);
    Json const& network = state["network"];
    std::string const address =
        network["address"].is_null() ? "" : ", address " + network["address"].get<std::string>();
    printField("network", network["state"].get<std::string>() + address);
    printLines("last transfers", state["transfers"], "none");
    printLines("last commands", state["commands"], "none");
}

void watch()
{
    constexpr unsigned int redrawIntervalMs = 1000;
    constexpr char const* clearScreen = "\033[H\033[2J";
    catchInterrupts();
    while (!interrupted()) {
        Json const state = lookAtBox();
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
        std::puts(jsonLine(lookAtBox()).c_str());
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
