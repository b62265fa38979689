#include "platform/simulated/i2c_devices.h"

#include "platform/simulated/expander.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace KORVA::DTC::PLATFORM {
namespace {

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
    ~AddressCounter() { close(m_file); }
    AddressCounter(AddressCounter const&) = delete;
    AddressCounter& operator=(AddressCounter const&) = delete;

    bool get(std::size_t& address) const
    {
        std::array<unsigned char, 2> bytes{};
        if (pread(m_file, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
            return false;
        address = (static_cast<std::size_t>(bytes[0]) << 8 | bytes[1]) % eepromBytes;
        return true;
    }

    bool set(std::size_t address)
    {
        std::array<unsigned char, 2> const bytes{static_cast<unsigned char>(address >> 8),
                                                 static_cast<unsigned char>(address)};
        return pwrite(m_file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size());
    }

private:
    int m_file;
};

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
    bool const written =
        length == 2 || pwrite(state, content.data(), content.size(), static_cast<off_t>(page)) ==
                           static_cast<ssize_t>(content.size());
    return written && counter.set(page + offset);
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
    {"/dev/i2c/bit_io", "bit_io", 0x1A, writeExpander, readExpander},
    {"/dev/i2c/version", "version", 0x1B, writeExpander, readExpander},
    {"/dev/i2c/eeprom", "eeprom", 0x50, writeEeprom, readEeprom},
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
