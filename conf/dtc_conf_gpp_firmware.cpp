#include "conf/dtc_conf_gpp_firmware.h"

#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_list.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_shell_word.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "util/ustring.h"

#include <exception>
#include <string>

namespace KORVA::DTC::CONF {
namespace {

/// An image that an archive may hold, and the command that writes it from safe mode. The digit of
/// the partition occurs in the command as nothing else.
struct Image
{
    char const* name;
    char const* command;
    char const* partition;
    char const* unsafePartition;
};

constexpr Image images[] = {
    {"rootfs.tar.gz",
     "mount / -o remount,rw; mkdir -p /mnt/flash;flash_eraseall -j /dev/mtd5;"
     "mount -t jffs2 /dev/mtdblock5 /mnt/flash;tar xzf /tmp/rootfs.tar.gz -C /mnt/flash;"
     "umount /mnt/flash;rmdir /mnt/flash;rm /tmp/rootfs.tar.gz;sleep 1",
     "5", "3"},
    {"uImage",
     "mount / -o remount,rw; flash_eraseall -j /dev/mtd4;ftl_format /dev/mtd4;"
     "nandwrite -p /dev/mtd4 /tmp/uImage;rm /tmp/uImage;sleep 1",
     "4", "2"},
};

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

void write(Image const& image, bool safe)
{
    std::string command = image.command;
    if (!safe)
        uString::Replace(command, image.partition, image.unsafePartition);
    run(command);
}

int storeImages(Vars& vars, char const* file)
{
    requireFile(file);
    vars.read();
    bool const safe = permittedMode(vars);
    std::string const files = unpack(uploadOf(file));
    int count = 0;
    for (Image const& image : images) {
        if (files.find(image.name) == std::string::npos)
            continue;
        write(image, safe);
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
