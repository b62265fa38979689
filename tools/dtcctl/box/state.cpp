#include "tools/dtcctl/box/state.h"

#include "platform/simulated/box_files.h"
#include "platform/simulated/expander.h"

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
using KORVA::DTC::PLATFORM::Expander;

constexpr std::size_t shownLines = 5;
constexpr std::size_t shownCharacters = 100;

std::string content(std::string const& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string bytesAt(std::string const& path, std::streamoff offset, std::size_t count)
{
    std::string bytes(count, '\0');
    std::ifstream stream(path, std::ios::binary);
    stream.seekg(offset);
    stream.read(bytes.data(), static_cast<std::streamsize>(count));
    return bytes;
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

std::string ledIn(Expander const& expander, unsigned int pin)
{
    if (expander.isInput(pin))
        return "released";
    return expander.drivesHigh(pin) ? "off" : "on";
}

std::string resetIn(Expander const& expander, unsigned int pin)
{
    if (expander.isInput(pin))
        return "released";
    return expander.drivesHigh(pin) ? "driven high" : "held low";
}

/// A register in the machine's byte order, as the drivers map it.
template <typename Register>
Register registerAt(std::string const& memory, std::streamoff address)
{
    Register value = 0;
    std::memcpy(&value, bytesAt(memory, address, sizeof value).data(), sizeof value);
    return value;
}

void fillPins(BoxState& state)
{
    constexpr unsigned int fpgaResetPin = 6;
    constexpr unsigned int boxResetPin = 7;
    Expander const leds = expanderIn(state.directory + "/dev/i2c/bit_io");
    for (unsigned int pin = 0; pin < state.leds.size(); ++pin)
        state.leds[pin] = ledIn(leds, pin);
    Expander const resets = expanderIn(state.directory + "/dev/i2c/version");
    state.fpgaReset = resetIn(resets, fpgaResetPin);
    state.boxReset = resetIn(resets, boxResetPin);
    state.boardRevision = resets.pins() & 0xFU;
}

void fillRegisters(BoxState& state)
{
    constexpr std::streamoff revisionAddress = 0x06000000;
    constexpr std::streamoff pinMultiplexerAddress = 0x01C40000;
    std::string const memory = state.directory + "/dev/mem";
    state.fpgaRevision = registerAt<std::uint16_t>(memory, revisionAddress);
    for (std::size_t i = 0; i < state.pinMultiplexer.size(); ++i)
        state.pinMultiplexer[i] = registerAt<std::uint32_t>(
            memory, pinMultiplexerAddress + static_cast<std::streamoff>(4 * i));
}

void fillEeprom(BoxState& state)
{
    std::string const bytes = content(state.directory + "/dev/i2c/eeprom");
    state.isEepromErased = bytes.find_first_not_of('\xFF') == std::string::npos;
    constexpr char endsOfText[] = {'\0', '\xFF'};
    std::istringstream text(bytes.substr(0, bytes.find_first_of(endsOfText, 0, sizeof endsOfText)));
    for (std::string line; state.eepromText.size() < shownLines && std::getline(text, line);)
        state.eepromText.push_back(shown(line));
}

/// Commands may be changing the tree meanwhile: what is gone when its turn comes is left out.
std::vector<BoxFile> filesBelow(fs::path const& directory)
{
    std::vector<BoxFile> files;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code gone;
        bool const isFile = entry->symlink_status(gone).type() == fs::file_type::regular;
        std::uintmax_t const size = isFile ? entry->file_size(gone) : 0;
        if (!gone && isFile)
            files.push_back({entry->path().lexically_relative(directory).string(), size});
    }
    std::sort(files.begin(), files.end(),
              [](BoxFile const& a, BoxFile const& b) { return a.name < b.name; });
    return files;
}

BoxPartition partitionOf(fs::directory_entry const& entry)
{
    std::error_code gone;
    BoxPartition partition{entry.path().filename().string(), entry.is_directory(gone), 0, {}};
    if (!partition.isDirectory) {
        std::uintmax_t const size = entry.file_size(gone);
        partition.sizeBytes = gone ? 0 : size;
        return partition;
    }
    partition.files = filesBelow(entry.path());
    for (BoxFile const& file : partition.files)
        partition.sizeBytes += file.sizeBytes;
    return partition;
}

void fillFlash(BoxState& state)
{
    std::error_code error;
    for (fs::directory_iterator entry(state.directory + "/flash", error), end;
         !error && entry != end; entry.increment(error))
        state.flash.push_back(partitionOf(*entry));
    std::sort(state.flash.begin(), state.flash.end(),
              [](BoxPartition const& a, BoxPartition const& b) { return a.name < b.name; });
}

std::vector<std::string> lastLines(std::string const& path)
{
    std::istringstream text(content(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        if (lines.size() == shownLines)
            lines.erase(lines.begin());
        lines.push_back(shown(std::move(line)));
    }
    return lines;
}

} // namespace

BoxState lookAtBox()
{
    BoxState state{};
    state.directory = KORVA::DTC::PLATFORM::boxRoot();
    KORVA::DTC::PLATFORM::BoxLock const lock(state.directory);
    fillPins(state);
    fillRegisters(state);
    fillEeprom(state);
    fillFlash(state);
    state.rootFileSystem = word(state.directory + "/run/rootfs");
    state.network = word(state.directory + "/run/network");
    if (state.network == "up")
        state.address = word(state.directory + "/run/address");
    state.transfers = lastLines(state.directory + "/log/transfers.log");
    state.commands = lastLines(state.directory + "/log/commands.log");
    return state;
}

} // namespace dtcctl
