#include "platform/simulated/i2c_devices.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace KORVA::DTC::PLATFORM {
namespace {

/// An 8-bit I/O expander. The byte after the address selects a register, and what follows is
/// written to it; a read gives the selected register. Selected register 0: the levels of the pins;
/// 1: what outputs drive; 2: which levels read inverted; 3: which pins are inputs. Source: the data
/// sheets of 8-bit I2C expanders with four registers.
struct Expander
{
    unsigned char outside = 0xFF; ///< what drives the pins that are inputs
    unsigned char output = 0xFF;
    unsigned char polarity = 0;
    unsigned char configuration = 0xFF;
    unsigned char selected = 0;

    unsigned char pins() const
    {
        return static_cast<unsigned char>(((outside & configuration) | (output & ~configuration)) ^
                                          polarity);
    }

    unsigned char value() const
    {
        unsigned char const registers[] = {pins(), output, polarity, configuration};
        return registers[selected & 3];
    }

    void set(unsigned char value)
    {
        unsigned char* const registers[] = {nullptr, &output, &polarity, &configuration};
        if (registers[selected & 3] != nullptr)
            *registers[selected & 3] = value;
    }
};
static_assert(sizeof(Expander) == 5, "as it lies in the state file");

bool loadExpander(int state, Expander& expander)
{
    return pread(state, &expander, sizeof expander, 0) == sizeof expander;
}

bool writeExpander(int state, int /*root*/, unsigned char const* bytes, std::size_t length)
{
    Expander expander;
    if (!loadExpander(state, expander))
        return false;
    for (std::size_t i = 0; i < length; ++i) {
        if (i == 0)
            expander.selected = bytes[0];
        else
            expander.set(bytes[i]);
    }
    // Five bytes in one call: a process killed here leaves the old state or the new one.
    return pwrite(state, &expander, sizeof expander, 0) == sizeof expander;
}

bool readExpander(int state, int /*root*/, unsigned char* bytes, std::size_t length)
{
    Expander expander;
    if (!loadExpander(state, expander))
        return false;
    std::memset(bytes, expander.value(), length);
    return true;
}

constexpr std::size_t eepromBytes = 0x8000; // 32 KiB
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
