#include "platform/simulated/i2c_devices.h"

#include "platform/simulated/expander.h"
#include "platform/simulated/owned_descriptor.h"

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

/// The EEPROM's address counter, kept beside its content: two bytes, high byte first.
class AddressCounter
{
public:
    explicit AddressCounter(int root)
        : m_file(openat(root, "run/eeprom-address", O_RDWR | O_CREAT | O_CLOEXEC, 0644))
    {}

    bool get(std::size_t& address) const
    {
        std::array<unsigned char, 2> bytes{};
        if (pread(m_file.get(), bytes.data(), bytes.size(), 0) !=
            static_cast<ssize_t>(bytes.size()))
            return false;
        address = (static_cast<std::size_t>(bytes[0]) << 8 | bytes[1]) % eepromBytes;
        return true;
    }

    bool set(std::size_t address)
    {
        std::array<unsigned char, 2> const bytes{static_cast<unsigned char>(address >> 8),
                                                 static_cast<unsigned char>(address)};
        return pwrite(m_file.get(), bytes.data(), bytes.size(), 0) ==
               static_cast<ssize_t>(bytes.size());
    }

private:
    OwnedDescriptor m_file;
};

/// When the part has stored its last page and answers again: nanoseconds on the monotonic clock,
/// which all processes share until the machine starts anew.
class WriteCycle
{
public:
    explicit WriteCycle(int root)
        : m_file(openat(root, "run/eeprom-write-cycle", O_RDWR | O_CREAT | O_CLOEXEC, 0644))
    {}

    /// A time that lies farther ahead than a cycle lasts is of another run of the machine.
    bool isOver() const
    {
        std::int64_t end = 0;
        if (pread(m_file.get(), &end, sizeof end, 0) != sizeof end)
            return true; // there was none yet
        std::int64_t const current = now();
        return end <= current || end - current > lengthNs;
    }

    bool begin()
    {
        std::int64_t const end = now() + lengthNs;
        return pwrite(m_file.get(), &end, sizeof end, 0) == sizeof end;
    }

private:
    static constexpr std::int64_t lengthNs = 5'000'000;

    static std::int64_t now()
    {
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    }

    OwnedDescriptor m_file;
};

bool eepromAnswers(int root)
{
    return WriteCycle(root).isOver();
}

/// Two address bytes, high byte first, then data, which wraps round inside its page.
bool writeEeprom(int state, int root, unsigned char const* bytes, std::size_t length)
{
    if (length < 2)
        return true;
    AddressCounter counter(root);
    std::size_t const address = (static_cast<std::size_t>(bytes[0]) << 8 | bytes[1]) % eepromBytes;
    std::size_t const page = address - address % eepromPageBytes;
    std::array<unsigned char, eepromPageBytes> content{};
    if (pread(state, content.data(), content.size(), static_cast<off_t>(page)) !=
        static_cast<ssize_t>(content.size()))
        return false;
    std::size_t offset = address % eepromPageBytes;
    for (std::size_t i = 2; i < length; ++i) {
        content[offset] = bytes[i];
        offset = (offset + 1) % eepromPageBytes;
    }
    if (!counter.set(page + offset))
        return false;
    return length == 2 ||
           (pwrite(state, content.data(), content.size(), static_cast<off_t>(page)) ==
                static_cast<ssize_t>(content.size()) &&
            WriteCycle(root).begin());
}

/// Runs on from the address counter, across pages and from the end to the beginning.
bool readEeprom(int state, int root, unsigned char* bytes, std::size_t length)
{
    AddressCounter counter(root);
    std::size_t address = 0;
    if (!counter.get(address))
        return false;
    for (std::size_t done = 0; done < length;) {
        std::size_t const piece = std::min(length - done, eepromBytes - address);
        if (pread(state, bytes + done, piece, static_cast<off_t>(address)) !=
            static_cast<ssize_t>(piece))
            return false;
        done += piece;
        address = (address + piece) % eepromBytes;
    }
    return counter.set(address);
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
