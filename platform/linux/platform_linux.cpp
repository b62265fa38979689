#include "platform/platform.h"

#include "util/descriptor.h"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace KORVA::DTC::PLATFORM {

std::string path(char const* boxPath)
{
    return boxPath;
}

int openDevice(char const* boxPath, int flags)
{
    return aboveStandardStreams(open(boxPath, flags | O_CLOEXEC));
}

int bindDevice(int descriptor, unsigned int address)
{
    return ioctl(descriptor, I2C_SLAVE, static_cast<unsigned long>(address));
}

ssize_t readDevice(int descriptor, void* buffer, std::size_t length)
{
    return read(descriptor, buffer, length);
}

ssize_t writeDevice(int descriptor, void const* buffer, std::size_t length)
{
    return write(descriptor, buffer, length);
}

int closeDevice(int descriptor)
{
    return close(descriptor);
}

void* mapPage(int descriptor, unsigned int physicalAddress)
{
    return mmap(nullptr, PageSize, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                static_cast<off_t>(physicalAddress));
}

int unmapPage(void* page)
{
    return munmap(page, PageSize);
}

std::FILE* openShell(char const* command)
{
    return popen(command, "re");
}

int closeShell(std::FILE* stream)
{
    return pclose(stream);
}

} // namespace KORVA::DTC::PLATFORM
