#include "platform/platform.h"

#include "platform/simulated/box_files.h"
#include "platform/simulated/faults.h"
#include "platform/simulated/i2c_devices.h"
#include "util/descriptor.h"
#include "util/mutex.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KORVA::DTC::PLATFORM {
namespace {

/// An open I2C node of this process.
struct OpenNode
{
    int descriptor;          ///< of the device's state file; what the caller has
    I2cDevice const* device; ///< null: the place is free
    int root;
    unsigned int boundAddress; ///< 0: not bound
};

// Constant-initialised and trivially destroyed: drivers use the platform while statics are made and
// destroyed.
Mutex nodesMutex;
std::array<OpenNode, 64> nodes KORVA_GUARDED_BY(nodesMutex){};

OpenNode* nodeOf(int descriptor) KORVA_REQUIRES(nodesMutex)
{
    auto* const found =
        std::find_if(nodes.begin(), nodes.end(), [descriptor](OpenNode const& node) {
            return node.device != nullptr && node.descriptor == descriptor;
        });
    return found != nodes.end() ? found : nullptr;
}

/// Says on standard error why there is no box; the same reason only once in a process.
void complain(std::string const& reason)
{
    static Mutex mutex;
    static char last[512];
    MutexGuard const guard(mutex);
    if (reason.compare(0, sizeof last - 1, last) == 0)
        return;
    std::snprintf(last, sizeof last, "%s", reason.c_str());
    std::fprintf(stderr, "%s\n", reason.c_str());
}

/// The box's directory, or "" and a complaint.
std::string rootOrComplain()
{
    try {
        return boxRoot();
    } catch (std::exception const& error) {
        complain(error.what());
        return "";
    }
}

bool rememberNode(int descriptor, I2cDevice const* device, std::string const& root)
{
    MutexGuard const guard(nodesMutex);
    auto* const place = std::find_if(nodes.begin(), nodes.end(),
                                     [](OpenNode const& node) { return node.device == nullptr; });
    if (place == nodes.end())
        return false;
    int const directory = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory == -1)
        return false;
    *place = {descriptor, device, directory, 0};
    return true;
}

std::string hex(unsigned char const* bytes, std::size_t length)
{
    constexpr char const* digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text.append({' ', digits[bytes[i] >> 4], digits[bytes[i] & 15]});
    return text;
}

std::string describe(char const* kind, OpenNode const& node, std::size_t length)
{
    char text[64];
    std::snprintf(text, sizeof text, "%s %s 0x%02x %zu:", kind, node.device->name,
                  node.boundAddress, length);
    return text;
}

/// Why the device does not answer at all, as an errno; 0 when it does.
int refusal(OpenNode const& node, std::optional<FAULTS::Transfer> fault)
{
    if (fault == FAULTS::Transfer::Fails)
        return EIO;
    bool const isAcknowledged =
        node.boundAddress == node.device->address && node.device->answers(node.root);
    return isAcknowledged ? 0 : ENXIO;
}

/// Room for the page in the memory's file: on a full disk, touching a page without it would kill
/// the process. False with errno; a file system that cannot tell is trusted.
bool giveBlocks(int memory, off_t page)
{
    int error = 0;
    do {
        error = fallocate(memory, FALLOC_FL_KEEP_SIZE, page, static_cast<off_t>(PageSize)) == 0
                    ? 0
                    : errno;
    } while (error == EINTR);
    if (error == 0 || error == EOPNOTSUPP)
        return true;
    complain(std::string("simulated box: /dev/mem: ") + std::strerror(error));
    errno = error;
    return false;
}

/// Before a program sees the FPGA's page.
void restoreRegistersOfBox()
{
    std::string const root = rootOrComplain();
    if (root.empty())
        return;
    BoxLock const lock(root);
    restoreRegisters(root);
}

constexpr std::size_t largestTransfer = 8192; // source: i2c-dev of the Linux kernel

/// One transfer, alone on the bus: move lets the device take or give so many bytes.
template <typename Byte, typename Move>
ssize_t transfer(char const* kind, int descriptor, Byte* buffer, std::size_t length, Move move)
{
    MutexGuard const guard(nodesMutex);
    OpenNode const* const node = nodeOf(descriptor);
    if (node == nullptr) {
        errno = EBADF;
        return -1;
    }
    std::string const root = rootOrComplain();
    if (root.empty()) {
        errno = EIO;
        return -1;
    }
    BoxLock const lock(root);
    restoreRegisters(root);
    std::optional<FAULTS::Transfer> const fault = FAULTS::nextTransfer();
    std::string entry = describe(kind, *node, length);
    bool const isShort = fault == FAULTS::Transfer::IsShort && length > 0;
    std::size_t const moved = isShort ? length - 1 : std::min(length, largestTransfer);
    int error = lock.isHeld() ? refusal(*node, fault) : EIO;
    if (error == 0 && !move(*node, moved))
        error = EIO;
    entry += error != 0 ? " failed" : hex(buffer, moved) + (moved < length ? " short" : "");
    appendToLog(root, "transfers", entry);
    errno = error;
    return error != 0 ? -1 : static_cast<ssize_t>(moved);
}

} // namespace

std::string path(char const* boxPath)
{
    std::string const root = rootOrComplain();
    return (root.empty() ? "/dev/null/no simulated box" : root) + boxPath;
}

int openDevice(char const* boxPath, int flags)
{
    std::string const root = rootOrComplain();
    if (root.empty() || FAULTS::isHidden(boxPath)) {
        errno = ENOENT;
        return -1;
    }
    I2cDevice const* const device = i2cDeviceAt(boxPath);
    int const descriptor = aboveStandardStreams(open((root + boxPath).c_str(), flags | O_CLOEXEC));
    if (descriptor == -1 || device == nullptr || rememberNode(descriptor, device, root))
        return descriptor;
    close(descriptor);
    errno = EMFILE;
    return -1;
}

int bindDevice(int descriptor, unsigned int address)
{
    MutexGuard const guard(nodesMutex);
    OpenNode* const node = nodeOf(descriptor);
    if (node == nullptr || FAULTS::isBindingRefused()) {
        errno = node == nullptr ? ENOTTY : EBUSY;
        return -1;
    }
    node->boundAddress = address;
    return 0;
}

ssize_t readDevice(int descriptor, void* buffer, std::size_t length)
{
    auto* const bytes = static_cast<unsigned char*>(buffer);
    return transfer("read ", descriptor, bytes, length,
                    [=](OpenNode const& node, std::size_t count) {
                        return node.device->read(node.descriptor, node.root, bytes, count);
                    });
}

ssize_t writeDevice(int descriptor, void const* buffer, std::size_t length)
{
    auto const* const bytes = static_cast<unsigned char const*>(buffer);
    return transfer("write", descriptor, bytes, length,
                    [=](OpenNode const& node, std::size_t count) {
                        return node.device->write(node.descriptor, node.root, bytes, count);
                    });
}

int closeDevice(int descriptor)
{
    {
        MutexGuard const guard(nodesMutex);
        OpenNode* const node = nodeOf(descriptor);
        if (node != nullptr) {
            close(node->root);
            *node = OpenNode{};
        }
    }
    return close(descriptor);
}

void* mapPage(int descriptor, unsigned int physicalAddress)
{
    if (FAULTS::isMappingRefused()) {
        errno = EPERM;
        return MAP_FAILED;
    }
    struct stat memory = {};
    if (fstat(descriptor, &memory) != 0)
        return MAP_FAILED;
    off_t const end = static_cast<off_t>(physicalAddress) + static_cast<off_t>(PageSize);
    if (memory.st_size < end) { // mmap would allow it, and the first access would kill the process
        errno = EINVAL;
        return MAP_FAILED;
    }
    if (physicalAddress == fpgaRevisionRegister)
        restoreRegistersOfBox();
    void* const page = mmap(nullptr, PageSize, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                            static_cast<off_t>(physicalAddress));
    if (page == MAP_FAILED || giveBlocks(descriptor, static_cast<off_t>(physicalAddress)))
        return page;
    int const error = errno;
    munmap(page, PageSize);
    errno = error;
    return MAP_FAILED;
}

int unmapPage(void* page)
{
    return munmap(page, PageSize);
}

} // namespace KORVA::DTC::PLATFORM
