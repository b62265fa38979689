#include "conf/dtc_conf_gpp_firmware.h"

#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_place.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "util/ustring.h"

#include <exception>
#include <iterator>
#include <string>

namespace KORVA::DTC::CONF {
namespace {

/// The commands that write the images. N stands for the partition, and occurs as nothing else.
constexpr char const* commands[] = {
    "mount / -o remount,rw; mkdir -p /mnt/flash;flash_eraseall -j /dev/mtdN;"
    "mount -t jffs2 /dev/mtdblockN /mnt/flash;tar xzf /tmp/rootfs.tar.gz -C /mnt/flash;"
    "umount /mnt/flash;rmdir /mnt/flash;rm /tmp/rootfs.tar.gz;sleep 1",
    "mount / -o remount,rw; flash_eraseall -j /dev/mtdN;ftl_format /dev/mtdN;"
    "nandwrite -p /dev/mtdN /tmp/uImage;rm /tmp/uImage;sleep 1",
};
static_assert(std::size(commands) == std::size(firmwareImages));

void run(std::string const& command)
{
    popenWithStdout(command.c_str(), nullptr, 0);
}

void remountReadOnly()
{
    run("mount / -o remount,ro");
}

/// Does the work and remounts, whatever happens. The caller gets the first failure, also when the
/// remount fails after it.
template <typename Work>
void endingReadOnly(Work work)
{
    try {
        work();
        remountReadOnly();
    } catch (...) {
        try {
            remountReadOnly();
        } catch (std::exception const&) { // says less than the failure that led here
        }
        throw;
    }
}

void requireFile(char const* file)
{
    if (file == nullptr)
        throw Exception(gppFileName, __LINE__, NullParameter, nullptr);
}

/// Where an upload lies, as a word of a command.
std::string uploadOf(char const* file)
{
    std::string name;
    std::string rest = file;
    while (uString::Split(rest.c_str(), name, rest, "/") == 2) {
    }
    // Commands are run without their line breaks, so they would mean another file.
    if (name.find_first_of("\r\n") != std::string::npos)
        throw Exception(gppFileName, __LINE__, OperationFailed, "line break in file name");
    return shellWord("/tmp/" + name);
}

/// Whether the box is in safe mode; throws when it must not be updated.
bool permittedMode(Vars& vars)
{
    bool const safe = uString::ToBool(vars.getVar(NAME::safeMode).c_str());
    if (!safe && vars.getVar(NAME::_control) != CONTROL::AllowUnsafeUpdate)
        throw Exception(gppFileName, __LINE__, OperationFailed,
                        "update only allowed from safe mode");
    return safe;
}

/// Returns the files that are in "/tmp" then.
std::string unpack(std::string const& upload)
{
    char files[4096];
    std::string const command =
        "mount / -o remount,rw; tar xzf " + upload + " -C /tmp;rm " + upload + ";ls /tmp";
    popenWithStdout(command.c_str(), files, sizeof files);
    return files;
}

int storeImages(Vars& vars, char const* file)
{
    requireFile(file);
    vars.read();
    bool const safe = permittedMode(vars);
    std::string const files = unpack(uploadOf(file));
    int count = 0;
    for (std::size_t i = 0; i < std::size(commands); ++i) {
        FirmwareImage const& image = firmwareImages[i];
        if (files.find(image.name) == std::string::npos)
            continue;
        std::string command = commands[i];
        run(uString::Replace(command, "N",
                             safe ? image.partitionInSafeMode : image.partitionOtherwise));
        ++count;
    }
    return count;
}

} // namespace

int store(char const* file)
{
    Vars vars("");
    int count = 0;
    endingReadOnly([&] { count = storeImages(vars, file); });
    return count;
}

void remove(char const* file)
{
    endingReadOnly([file] {
        requireFile(file);
        run("mount / -o remount,rw; rm " + uploadOf(file));
    });
}

} // namespace KORVA::DTC::CONF
