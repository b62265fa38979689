/// Serves the box's I2C nodes as a file system, so that the library built for the box finds on a
/// desk what it finds there. Behind the nodes are the device models of the simulated box that
/// DTC_BOX_ROOT names.
#define FUSE_USE_VERSION 35

#include "platform/platform.h"
#include "platform/simulated/box_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fuse.h>
#include <linux/i2c-dev.h>
#include <string>
#include <sys/stat.h>

namespace {

using namespace KORVA::DTC;

constexpr std::array<char const*, 3> names{"/bit_io", "/version", "/eeprom"};

bool isNode(std::string const& path)
{
    return std::find(names.begin(), names.end(), path) != names.end();
}

int descriptorOf(fuse_file_info const* file)
{
    return static_cast<int>(file->fh);
}

/// What a system call of the platform has returned, as the kernel wants it.
template <typename Result>
int answer(Result result)
{
    return result < 0 ? -errno : static_cast<int>(result);
}

int describeNode(char const* path, struct stat* status, fuse_file_info* /*file*/)
{
    bool const isRoot = std::string(path) == "/";
    if (!isRoot && !isNode(path))
        return -ENOENT;
    status->st_mode = isRoot ? S_IFDIR | 0755 : S_IFREG | 0600;
    status->st_nlink = 1;
    return 0;
}

int listNodes(char const* /*path*/, void* list, fuse_fill_dir_t add, off_t /*offset*/,
              fuse_file_info* /*file*/, fuse_readdir_flags /*flags*/)
{
    for (char const* name : names)
        add(list, name + 1, nullptr, 0, fuse_fill_dir_flags());
    return 0;
}

int openNode(char const* path, fuse_file_info* file)
{
    int const descriptor =
        PLATFORM::openDevice((std::string("/dev/i2c") + path).c_str(), file->flags);
    if (descriptor == -1)
        return -errno;
    file->fh = static_cast<std::uint64_t>(descriptor);
    file->direct_io = 1; // each call of a program is one transfer, of its length
    file->nonseekable = 1;
    return 0;
}

int closeNode(char const* /*path*/, fuse_file_info* file)
{
    return answer(PLATFORM::closeDevice(descriptorOf(file)));
}

/// The request's number has no size in it, so the kernel passes the argument as it is.
int controlNode(char const* /*path*/, unsigned int request, void* argument, fuse_file_info* file,
                unsigned int /*flags*/, void* /*data*/)
{
    if (request != I2C_SLAVE)
        return -ENOTTY;
    auto const address = static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(argument));
    return answer(PLATFORM::bindDevice(descriptorOf(file), address));
}

int readNode(char const* /*path*/, char* buffer, std::size_t length, off_t /*offset*/,
             fuse_file_info* file)
{
    return answer(PLATFORM::readDevice(descriptorOf(file), buffer, length));
}

int writeNode(char const* /*path*/, char const* buffer, std::size_t length, off_t /*offset*/,
              fuse_file_info* file)
{
    return answer(PLATFORM::writeDevice(descriptorOf(file), buffer, length));
}

fuse_operations operations()
{
    fuse_operations calls{};
    calls.getattr = describeNode;
    calls.readdir = listNodes;
    calls.open = openNode;
    calls.release = closeNode;
    calls.ioctl = controlNode;
    calls.read = readNode;
    calls.write = writeNode;
    return calls;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: i2c_nodes DIRECTORY\n");
        return 2;
    }
    try {
        PLATFORM::boxRoot(); // made now, not by the first program that opens a node
        std::array<std::string, 4> words{argv[0], argv[1], "-f", "-s"}; // in front, one thread
        std::array<char*, 5> arguments{words[0].data(), words[1].data(), words[2].data(),
                                       words[3].data(), nullptr};
        fuse_operations const calls = operations();
        return fuse_main(4, arguments.data(), &calls, nullptr);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "i2c_nodes: %s\n", error.what());
        return 1;
    }
}
