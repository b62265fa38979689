#include "tools/dtcctl/box/state.h"

#include "platform/platform.h"
#include "platform/simulated/box_files.h"
#include "platform/simulated/expander.h"
#include "tools/dtcctl/box/path.h"

#include <skylark_io/periph/dtc_periph_resets.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace dtcctl {
namespace {

namespace fs = std::filesystem;
namespace PERIPH = KORVA::DTC::PERIPH;
using KORVA::DTC::PLATFORM::Expander;

constexpr std::size_t shownLines = 5;
constexpr std::size_t shownCharacters = 100;

std::string content(std::string const& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// A line that a person can read: no control characters, and not wider than a terminal.
std::string shown(std::string line)
{
    if (line.size() > shownCharacters)
        line.replace(shownCharacters, std::string::npos, "...");
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
    return line;
}

std::string word(std::string const& path)
{
    std::istringstream stream(content(path));
    std::string text;
    stream >> text;
    return text.empty() ? "unknown" : text;
}

/// The state of an expander; that of a new one if it cannot be read.
Expander expanderIn(std::string const& path)
{
    Expander expander;
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    expander.load(file);
    close(file);
    return expander;
}

char const* pinOf(Expander const& expander, unsigned int pin, char const* low, char const* high)
{
    if (expander.isInput(pin))
        return "released";
    return expander.drivesHigh(pin) ? high : low;
}

/// A register in the machine's byte order, as the drivers map it.
template <typename Register>
Register registerAt(std::string const& memory, std::streamoff address)
{
    char bytes[sizeof(Register)] = {};
    std::ifstream stream(memory, std::ios::binary);
    stream.seekg(address);
    stream.read(bytes, sizeof bytes);
    Register value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

Json eepromOf(std::string const& path)
{
    std::string const bytes = content(path);
    constexpr char endsOfText[] = {'\0', '\xFF'};
    std::istringstream text(bytes.substr(0, bytes.find_first_of(endsOfText, 0, sizeof endsOfText)));
    Json lines = Json::array();
    for (std::string line; lines.size() < shownLines && std::getline(text, line);)
        lines.push_back(shown(line));
    return {{"erased", bytes.find_first_not_of('\xFF') == std::string::npos}, {"text", lines}};
}

void sortByName(Json& files)
{
    std::sort(files.begin(), files.end(),
              [](Json const& a, Json const& b) { return a["name"] < b["name"]; });
}

/// Commands may be changing the tree meanwhile: what is gone when its turn comes is left out.
Json filesBelow(fs::path const& directory)
{
    Json files = Json::array();
    std::error_code error;
    for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code gone;
        bool const isFile = entry->symlink_status(gone).type() == fs::file_type::regular;
        std::uintmax_t const size = isFile ? entry->file_size(gone) : 0;
        if (!gone && isFile)
            files.push_back(
                {{"name", entry->path().lexically_relative(directory).string()}, {"bytes", size}});
    }
    sortByName(files);
    return files;
}

Json partitionOf(fs::directory_entry const& entry)
{
    std::error_code gone;
    Json partition = {{"name", entry.path().filename().string()}, {"bytes", 0}};
    if (!entry.is_directory(gone)) {
        std::uintmax_t const size = entry.file_size(gone);
        partition["bytes"] = gone ? 0 : size;
        return partition;
    }
    std::uintmax_t sum = 0;
    Json const files = filesBelow(entry.path());
    for (Json const& file : files)
        sum += file["bytes"].get<std::uintmax_t>();
    partition["bytes"] = sum;
    partition["files"] = files;
    return partition;
}

Json flashIn(std::string const& directory)
{
    Json flash = Json::array();
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error))
        flash.push_back(partitionOf(*entry));
    sortByName(flash);
    return flash;
}

Json lastLines(std::string const& path)
{
    std::istringstream text(content(path));
    Json lines = Json::array();
    for (std::string line; std::getline(text, line);) {
        if (lines.size() == shownLines)
            lines.erase(lines.begin());
        lines.push_back(shown(std::move(line)));
    }
    return lines;
}

} // namespace

Json lookAtBox()
{
    // Where the drivers have them, by the data of the board.
    constexpr std::streamoff revisionAddress = 0x06000000;
    constexpr std::streamoff pinMultiplexerAddress = 0x01C40000;
    std::string const box = KORVA::DTC::PLATFORM::boxRoot();
    KORVA::DTC::PLATFORM::BoxLock const lock(box);
    Expander const leds = expanderIn(box + "/dev/i2c/bit_io");
    Expander const resets = expanderIn(box + "/dev/i2c/version");
    std::string const memory = box + "/dev/mem";
    Json state = {{"directory", box}};
    for (unsigned int const pin : {0U, 1U, 2U})
        state["leds"].push_back(pinOf(leds, pin, "on", "off"));
    state["resets"] = {{"fpga", pinOf(resets, PERIPH::FPGA_RESET_PIN, "held low", "driven high")},
                       {"box", pinOf(resets, PERIPH::BOX_RESET_PIN, "held low", "driven high")}};
    state["board_revision"] = resets.pins() & 0xFU;
    state["fpga_revision"] = registerAt<std::uint16_t>(memory, revisionAddress);
    state["pin_multiplexer"] = {registerAt<std::uint32_t>(memory, pinMultiplexerAddress),
                                registerAt<std::uint32_t>(memory, pinMultiplexerAddress + 4)};
    state["eeprom"] = eepromOf(box + "/dev/i2c/eeprom");
    state["flash"] = flashIn(box + "/flash");
    state["root_file_system"] = word(box + "/run/rootfs");
    std::string const network = word(box + "/run/network");
    state["network"] = {{"state", network},
                        {"address", network == "up" ? Json(word(box + "/run/address")) : Json()}};
    state["transfers"] = lastLines(box + "/log/transfers.log");
    state["commands"] = lastLines(box + "/log/commands.log");
    return state;
}

std::string boxPath(std::string const& path)
{
    return KORVA::DTC::PLATFORM::path(path.c_str());
}

} // namespace dtcctl
