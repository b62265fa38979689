#include "platform/simulated/i2c_devices.h"

#include "platform/simulated/expander.h"
#include "util/descriptor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace KORVA::DTC::PLATFORM {
namespace {

bool expanderAnswers(int /*root*/)
{
    return true;
}

bool writeExpander(int state, int /*root*/, unsigned char const* bytes, std::size_t length)
{
    Expander expander;
    if (!expander.load(state))
        return false;
    for (std::size_t i = 0; i < length; ++i) {
        if (i == 0)
            expander.selected = bytes[0];
        else
            expander.set(bytes[i]);
    }
    return expander.save(state);
}

bool readExpander(int state, int /*root*/, unsigned char* bytes, std::size_t length)
{
    Expander expander;
    if (!expander.load(state))
        return false;
    std::memset(bytes, expander.value(), length);
    return true;
}

constexpr std::size_t eepromPageBytes = 64;

/// False when not all of it can be moved.
bool load(int file, void* bytes, std::size_t length, std::size_t offset = 0)
{
    return pread(file, bytes, length, static_cast<off_t>(offset)) == static_cast<ssize_t>(length);
}

bool save(int file, void const* bytes, std::size_t length, std::size_t offset = 0)
{
    return pwrite(file, bytes, length, static_cast<off_t>(offset)) == static_cast<ssize_t>(length);
}

OwnedDescriptor openState(int root, char const* name)
{
    return OwnedDescriptor(openat(root, name, O_RDWR | O_CREAT | O_CLOEXEC, 0644));
}

/// An address as it comes over the bus and as the part's counter lies beside its content.
using AddressBytes = std::array<unsigned char, 2>;

std::size_t decode(unsigned char const* bytes)
{
    return (static_cast<std::size_t>(bytes[0]) << 8 | bytes[1]) % eepromBytes;
}

bool saveCounter(int root, std::size_t address)
{
    AddressBytes const bytes{static_cast<unsigned char>(address >> 8),
                             static_cast<unsigned char>(address)};
    return save(openState(root, "run/eeprom-address").get(), bytes.data(), bytes.size());
}

/// When the part has stored its last page and answers again: nanoseconds on the monotonic clock,
/// which all processes share until the machine starts anew.
constexpr char const* writeCycle = "run/eeprom-write-cycle";
constexpr std::int64_t writeCycleNs = 5'000'000;

std::int64_t now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

bool beginWriteCycle(int root)
{
    std::int64_t const end = now() + writeCycleNs;
    return save(openState(root, writeCycle).get(), &end, sizeof end);
}

/// A time that lies farther ahead than a cycle lasts is of another run of the machine.
bool eepromAnswers(int root)
{
    std::int64_t end = 0;
    if (!load(openState(root, writeCycle).get(), &end, sizeof end))
        return true; // there was none yet
    std::int64_t const current = now();
    return end <= current || end - current > writeCycleNs;
}

/// Two address bytes, high byte first, then data, which wraps round inside its page.
bool writeEeprom(int state, int root, unsigned char const* bytes, std::size_t length)
{
    if (length < 2)
        return true;
    std::size_t const address = decode(bytes);
    std::size_t const page = address - address % eepromPageBytes;
    std::array<unsigned char, eepromPageBytes> content{};
    if (!load(state, content.data(), content.size(), page))
        return false;
    std::size_t offset = address % eepromPageBytes;
    for (std::size_t i = 2; i < length; ++i) {
        content[offset] = bytes[i];
        offset = (offset + 1) % eepromPageBytes;
    }
    if (!saveCounter(root, page + offset))
        return false;
    return length == 2 ||
           (save(state, content.data(), content.size(), page) && beginWriteCycle(root));
}

/// Runs on from the address counter, across pages and from the end to the beginning.
bool readEeprom(int state, int root, unsigned char* bytes, std::size_t length)
{
    AddressBytes counter{};
    if (!load(openState(root, "run/eeprom-address").get(), counter.data(), counter.size()))
        return false;
    std::size_t address = decode(counter.data());
    for (std::size_t done = 0; done < length;) {
        std::size_t const piece = std::min(length - done, eepromBytes - address);
        if (!load(state, bytes + done, piece, address))
            return false;
        done += piece;
        address = (address + piece) % eepromBytes;
    }
    return saveCounter(root, address);
}

constexpr std::array<I2cDevice, 3> devices{{
    {"/dev/i2c/bit_io", "bit_io", 0x1A, expanderAnswers, writeExpander, readExpander},
    {"/dev/i2c/version", "version", 0x1B, expanderAnswers, writeExpander, readExpander},
    {"/dev/i2c/eeprom", "eeprom", 0x50, eepromAnswers, writeEeprom, readEeprom},
}};

} // namespace

I2cDevice const* i2cDeviceAt(char const* node)
{
    auto const* const found =
        std::find_if(devices.begin(), devices.end(), [node](I2cDevice const& device) {
            return std::strcmp(device.node, node) == 0;
        });
    return found != devices.end() ? found : nullptr;
}

} // namespace KORVA::DTC::PLATFORM
