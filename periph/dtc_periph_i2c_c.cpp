#include "periph/dtc_periph_i2c_c.h"

#include "periph/dtc_periph_i2c.h"
#include "platform/platform.h"

#include <cstdio>
#include <fcntl.h>

namespace {

using namespace KORVA::DTC;

int i2c_bitio_fd = -1;
int i2c_version_fd = -1;
int i2c_eeprom_fd = -1;

struct Node
{
    char const* path;
    unsigned int address;
    int& descriptor;
};

constexpr Node nodes[] = {
    {"/dev/i2c/bit_io", PERIPH::LED_I2C_ADDR, i2c_bitio_fd},
    {"/dev/i2c/version", PERIPH::RESETS_I2C_ADDR, i2c_version_fd},
    {"/dev/i2c/eeprom", PERIPH::EEPROM_I2C_ADDR, i2c_eeprom_fd},
};

int descriptorOf(unsigned short address)
{
    for (Node const& node : nodes) {
        if (node.address == address)
            return node.descriptor;
    }
    return -1;
}

void closeNode(Node const& node)
{
    if (node.descriptor >= 0)
        PLATFORM::closeDevice(node.descriptor);
    node.descriptor = -1;
}

short failed(char const* message)
{
    std::printf("%s\n", message);
    return -1;
}

} // namespace

extern "C" {

short I2C_init(int)
{
    if (i2c_bitio_fd != -1)
        return 0;
    bool opened = true;
    for (Node const& node : nodes) {
        closeNode(node); // left from an attempt in which the first node failed
        node.descriptor = PLATFORM::openDevice(node.path, O_RDWR);
        opened = opened && node.descriptor >= 0;
    }
    if (!opened)
        return failed("I2C_init: Failed to open I2C devices");
    for (Node const& node : nodes) {
        if (PLATFORM::bindDevice(node.descriptor, node.address) < 0)
            return failed("I2C_init: Failed IOCTL on I2C devices");
    }
    return 0;
}

short I2C_close(int)
{
    for (Node const& node : nodes)
        closeNode(node);
    return 0;
}

short I2C_write(unsigned short address, unsigned char const* buffer, unsigned short length, int)
{
    if (PLATFORM::writeDevice(descriptorOf(address), buffer, length) == length)
        return 0;
    return failed("I2C write Failure");
}

short I2C_read(unsigned short address, unsigned char* buffer, unsigned short length, int)
{
    if (PLATFORM::readDevice(descriptorOf(address), buffer, length) == length)
        return 0;
    return failed("I2C read Failure");
}

} // extern "C"
