#include "conf/dtc_conf_gpp_system.h"

#include "conf/dtc_conf_place.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "platform/platform.h"
#include "util/ustring.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using namespace KORVA;
using namespace KORVA::DTC;
using CONF::SystemCallFailed;

constexpr unsigned int outputBytes = 1024;

struct CloseShell
{
    void operator()(std::FILE* stream) const { PLATFORM::closeShell(stream); }
};

/// One read of the whole, which goes on after a signal.
std::size_t readAll(std::FILE* stream, char* buffer, std::size_t size)
{
    std::size_t length = std::fread(buffer, 1, size, stream);
    while (length < size && std::ferror(stream) != 0 && errno == EINTR) {
        std::clearerr(stream);
        length += std::fread(buffer + length, 1, size - length, stream);
    }
    return length;
}

/// The command's output up to its end or the end of the buffer. One byte is kept for the
/// terminator.
void capture(std::FILE* stream, char const* command, char* buffer, unsigned int size)
{
    std::memset(buffer, 0, size);
    if (size == 0)
        return;
    std::size_t const length = readAll(stream, buffer, size - 1);
    char* const end = std::find_if(buffer, buffer + length,
                                   [](char c) { return static_cast<signed char>(c) <= 0; });
    *end = '\0';
    CONF::logLine(std::string("[") + command +
                  "]: " + (*buffer != '\0' ? buffer : "no output returned from pipe"));
}

/// Nobody to read it would end the command at its next output, half-way through its work.
void discardRest(std::FILE* stream)
{
    char rest[outputBytes];
    while (readAll(stream, rest, sizeof rest) == sizeof rest) {
    }
}

bool isTrueInEnvironment(char const* name)
{
    char const* const text = std::getenv(name);
    return text != nullptr && uString::ToBool(text);
}

/// What follows the marker, as many characters as wanted and up to the first of ends; "none"
/// without the marker.
std::string textAfter(std::string const& output, std::string const& marker, std::size_t length,
                      char const* ends)
{
    std::size_t const found = output.find(marker);
    if (found == std::string::npos)
        return CONF::VALUE::None;
    std::string const rest = output.substr(found + marker.size(), length);
    return rest.substr(0, rest.find_first_of(ends));
}

std::string systemClock()
{
    char text[outputBytes];
    CONF::popenWithStdout("date '+%Y/%m/%d %H:%M:%S'", text, sizeof text);
    if (*text == '\0')
        return CONF::VALUE::None;
    CONF::filterChars(text, sizeof text);
    std::string year;
    std::string rest;
    uString::Split(text, year, rest, "/");
    constexpr long lastYearOfAnUnsetClock = 1969;
    if (uString::ToLong(year.c_str()) <= lastYearOfAnUnsetClock)
        return CONF::VALUE::None;
    std::string clock = text;
    return uString::Replace(clock, "\n", "");
}

} // namespace

namespace KORVA::DTC::CONF {

void popenWithStdout(char const* command, char* buffer, unsigned int size)
{
    if (command == nullptr)
        throw Exception(gppFileName, __LINE__, NullParameter, nullptr);
    std::string line = command;
    uString::Replace(line, "\r", "");
    uString::Replace(line, "\n", "");
    std::unique_ptr<std::FILE, CloseShell> const stream(PLATFORM::openShell(line.c_str()));
    if (stream == nullptr)
        throw Exception(gppFileName, __LINE__, SystemCallFailed,
                        (line + ": failed to open pipe for reading").c_str());
    if (buffer != nullptr)
        capture(stream.get(), command, buffer, size);
    discardRest(stream.get());
}

std::string shellWord(std::string const& text)
{
    constexpr char const* harmless =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:/+-";
    if (!text.empty() && text.find_first_not_of(harmless) == std::string::npos)
        return text;
    std::string word = "'";
    for (char const character : text) {
        if (character == '\'')
            word += "'\\''"; // ends the quotes, an escaped quote, begins them again
        else
            word += character;
    }
    return word + "'";
}

} // namespace KORVA::DTC::CONF

void getMacAndIpAddr(std::string& mac, std::string& ip)
{
    bool const isUsbVariant = isTrueInEnvironment("ROVERKIT");
    bool const usesUsb = isUsbVariant && isTrueInEnvironment("RNDISMODE");
    char output[outputBytes];
    CONF::popenWithStdout(usesUsb ? "ifconfig -a usb0" : "ifconfig -a eth0", output, sizeof output);
    if (*output == '\0') {
        if (isUsbVariant)
            return;
        throw CONF::Exception(CONF::gppFileName, __LINE__, SystemCallFailed,
                              "failed to read mac/ip address");
    }
    constexpr std::size_t macCharacters = 17;
    mac = textAfter(output, "HWaddr ", macCharacters, "");
    ip = textAfter(output, "inet addr:", std::string::npos, " ");
}

void readVarsFromSys(CONF::VariableList& vars)
{
    for (auto& [name, value] : vars) {
        if (name != CONF::NAME::time)
            continue;
        value = CONF::VALUE::None; // what stays when the clock cannot be asked
        value = systemClock();
    }
}

void writeVarsToSys(CONF::VariableList const& vars)
{
    for (auto const& [name, value] : vars) {
        if (name != CONF::NAME::time || value == CONF::VALUE::None)
            continue;
        std::string clock = value;
        uString::Replace(clock, "/", ".");
        uString::Replace(clock, " ", "-");
        // Without an argument date refuses; an empty one would mean midnight to it.
        std::string const argument = clock.empty() ? clock : CONF::shellWord(clock);
        CONF::popenWithStdout(("date -s " + argument).c_str(), nullptr, 0);
    }
}
