#include <skylark_io/periph/dtc_periph_eeprom.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/input.h"
#include "tools/dtcctl/support/library_call.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace dtcctl {
namespace {

using namespace KORVA::DTC::PERIPH;
using Bytes = std::vector<unsigned char>;

struct EepromOptions
{
    std::string address;
    std::string length;
    std::string file;
};

struct Range
{
    unsigned int address;
    unsigned int length;
};

Range checkedRange(std::string const& address, std::size_t length)
{
    unsigned int const first = parseNumber(address, EEPROM_SIZE - 1);
    if (length > EEPROM_SIZE - first)
        throw UsageError(std::to_string(length) + " bytes from " + address +
                         " reach beyond the EEPROM's " + std::to_string(EEPROM_SIZE));
    return {first, static_cast<unsigned int>(length)};
}

/// Call with the bus held and the EEPROM's init done.
Bytes readBytes(Range range)
{
    constexpr unsigned int largestPiece =
        4096; // Linux moves no more than 8192 bytes in one transfer
    Bytes bytes(range.length);
    for (unsigned int done = 0; done < range.length;) {
        unsigned int const piece = std::min(range.length - done, largestPiece);
        getEEPROM().read(range.address + done, bytes.data() + done, piece);
        done += piece;
    }
    return bytes;
}

Bytes readRange(Range range)
{
    BusHold const hold(eepromTimeoutMs);
    getEEPROM().init();
    return readBytes(range);
}

void printRaw(EepromOptions const& options)
{
    Bytes const bytes =
        readRange(checkedRange(options.address, parseNumber(options.length, EEPROM_SIZE)));
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

/// The part is written by whole pages, so the rest of the last one is written as it was.
void writeFileTo(EepromOptions const& options)
{
    std::string const content = readInput(options.file);
    if (content.empty())
        throw UsageError("there is nothing to write");
    Range const range = checkedRange(options.address, content.size());
    if (range.address % EEPROM_PAGE_SIZE != 0)
        throw UsageError(options.address + ": not the beginning of a page, a multiple of " +
                         std::to_string(EEPROM_PAGE_SIZE));
    unsigned int const end = range.address + range.length;
    unsigned int const restOfPage = (EEPROM_PAGE_SIZE - end % EEPROM_PAGE_SIZE) % EEPROM_PAGE_SIZE;
    BusHold const hold(eepromTimeoutMs);
    getEEPROM().init();
    Bytes const rest = readBytes({end, restOfPage});
    Bytes pages(content.begin(), content.end());
    pages.insert(pages.end(), rest.begin(), rest.end());
    getEEPROM().write(range.address, pages.data(), range.length, true);
}

constexpr std::size_t bytesPerLine = 16;

void printLine(unsigned int address, unsigned char const* bytes, std::size_t count)
{
    std::printf("%08x ", address);
    for (std::size_t i = 0; i < bytesPerLine; ++i) {
        if (i == bytesPerLine / 2)
            std::putchar(' ');
        if (i < count)
            std::printf(" %02x", bytes[i]);
        else
            std::fputs("   ", stdout);
    }
    std::fputs("  |", stdout);
    for (std::size_t i = 0; i < count; ++i)
        std::putchar(bytes[i] >= ' ' && bytes[i] <= '~' ? bytes[i] : '.');
    std::puts("|");
}

/// As hexdump -C: a "*" stands for lines that repeat the one before.
void printDump(unsigned int address, Bytes const& bytes)
{
    bool inRepetition = false;
    for (std::size_t at = 0; at < bytes.size(); at += bytesPerLine) {
        unsigned char const* const line = bytes.data() + at;
        std::size_t const count = std::min(bytesPerLine, bytes.size() - at);
        bool const repeats = at > 0 && count == bytesPerLine &&
                             std::memcmp(line - bytesPerLine, line, bytesPerLine) == 0;
        if (!repeats)
            printLine(address + static_cast<unsigned int>(at), line, count);
        else if (!inRepetition)
            std::puts("*");
        inRepetition = repeats;
    }
    std::printf("%08x\n", address + static_cast<unsigned int>(bytes.size()));
}

void dump(EepromOptions const& options)
{
    bool const isWhole = options.address.empty();
    if (!isWhole && options.length.empty())
        throw UsageError("give an address and a length, or neither");
    Range const range =
        isWhole ? Range{0, EEPROM_SIZE}
                : checkedRange(options.address, parseNumber(options.length, EEPROM_SIZE));
    printDump(range.address, readRange(range));
}

} // namespace

void addEeprom(CLI::App& program)
{
    auto const options = std::make_shared<EepromOptions>();
    CLI::App& eeprom =
        *program.add_subcommand("eeprom", "Read and write the EEPROM's configuration area");
    eeprom.require_subcommand(1);
    constexpr char addresses[] = "0 to 16383";
    auto const add = [&](char const* name, char const* help, void (*run)(EepromOptions const&)) {
        CLI::App* const command = eeprom.add_subcommand(name, help);
        command->callback([options, run] { run(*options); });
        return command;
    };
    CLI::App* const read = add("read", "Put bytes out as they are", printRaw);
    read->add_option("ADDRESS", options->address, addresses)->required();
    read->add_option("LENGTH", options->length, "How many bytes")->required();
    CLI::App* const dumping = add("dump", "Show bytes as hexdump -C does", dump);
    dumping->add_option("ADDRESS", options->address, addresses);
    dumping->add_option("LENGTH", options->length, "How many bytes");
    CLI::App* const write =
        add("write", "Write a file from a page's beginning on; other bytes stay", writeFileTo);
    write->add_option("ADDRESS", options->address, addresses)->required();
    write->add_option("FILE", options->file, "The file, or - for standard input")->required();
}

} // namespace dtcctl
