/// The one seam between the library and the machine: what drivers, shell commands and the box's
/// files stand on.
///
/// Which implementation serves is decided when the library is linked: linux/ goes straight to the
/// system, simulated/ is a whole box in one directory. All may be called from any thread and during
/// static construction and destruction. Failures are reported as the system reports them: -1, null
/// or MAP_FAILED, and errno.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <sys/types.h>

namespace KORVA::DTC::PLATFORM {

/// Where a file of the box, given by its absolute path there, lies on this machine.
std::string path(char const* boxPath);

/// open(2) of a device node of the box, always close-on-exec. The descriptor is the caller's, to be
/// closed with closeDevice.
[[nodiscard]] int openDevice(char const* boxPath, int flags);

/// Binds the descriptor of an I2C node to the 7-bit address of its device: the ioctl I2C_SLAVE.
int bindDevice(int descriptor, unsigned int address);

/// One transfer from or to the device; the number of bytes moved, or -1.
ssize_t readDevice(int descriptor, void* buffer, std::size_t length);
ssize_t writeDevice(int descriptor, void const* buffer, std::size_t length);

int closeDevice(int descriptor);

/// Size of the pages that mapPage maps, in bytes.
constexpr std::size_t PageSize = 4096;

/// Maps the page of physical memory at the address (a multiple of PageSize) from a descriptor of
/// the box's memory device, readable, writable and shared; MAP_FAILED on failure.
[[nodiscard]] void* mapPage(int descriptor, unsigned int physicalAddress);
int unmapPage(void* page);

/// Starts the command under the box's shell and returns a stream of its standard output, as
/// popen(3) with "r"; null on failure. To be ended with closeShell, which waits for the command and
/// returns its status.
[[nodiscard]] std::FILE* openShell(char const* command);
int closeShell(std::FILE* stream);

} // namespace KORVA::DTC::PLATFORM
