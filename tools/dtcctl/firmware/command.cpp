#include <skylark_io/conf/dtc_conf_gpp_firmware.h>

#include "tools/dtcctl/box/path.h"
#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/firmware/archive.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/library_call.h"
#include "tools/dtcctl/support/progress.h"
#include "tools/dtcctl/support/text.h"
#include <skylark_io/conf/dtc_conf_schema.h>
#include <skylark_io/conf/dtc_conf_vars.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>

namespace dtcctl {
namespace {

namespace fs = std::filesystem;
namespace CONF = KORVA::DTC::CONF;

struct FirmwareOptions
{
    std::string file;
    bool unsafe = false;
};

using Image = CONF::FirmwareImage;

/// The image that the library takes a file in "/tmp" for; it looks for the names in a listing,
/// which leaves hidden files out.
Image const* imageSeenIn(std::string const& name)
{
    auto const* const found =
        std::find_if(std::begin(CONF::firmwareImages), std::end(CONF::firmwareImages),
                     [&name](Image const& image) {
                         return name.front() != '.' && name.find(image.name) != std::string::npos;
                     });
    return found != std::end(CONF::firmwareImages) ? found : nullptr;
}

/// What unpacking an archive brings into "/tmp".
struct Contents
{
    std::set<Image const*> images; ///< in the order in which they are written
    std::set<std::string> others;
};

/// A member's name without the parts that lead nowhere: "./a//b" is "a/b". A directory's ends in
/// "/".
std::string pathInTmp(std::string const& member)
{
    std::string path;
    for (fs::path const& part : fs::path(member)) {
        if (part != "." && !part.empty())
            path.append(path.empty() ? "" : "/").append(part.string());
    }
    return !member.empty() && member.back() == '/' ? path + "/" : path;
}

void addMember(Contents& contents, std::string const& member)
{
    for (fs::path const& part : fs::path(member)) {
        if (part == ".." || part == "/")
            throw Failure("the archive holds " + printable(member) +
                          ", which does not belong into /tmp; nothing was done");
    }
    std::string const path = pathInTmp(member);
    std::string const top = path.substr(0, path.find('/'));
    if (top.empty()) // the directory itself
        return;
    Image const* const image = imageSeenIn(top);
    if (image == nullptr)
        contents.others.insert(top);
    else if (path == image->name)
        contents.images.insert(image);
    else
        throw Failure("the archive holds " + printable(member) + ", which the box would take for " +
                      image->name + "; nothing was done");
}

Contents contentsOf(std::string const& file)
{
    Contents contents;
    for (std::string const& member : membersOf(file))
        addMember(contents, member);
    if (contents.images.empty())
        throw Failure(printable(file) + ": holds neither rootfs.tar.gz nor uImage at its top; "
                                        "nothing was done");
    return contents;
}

/// The library would write them as if they had come with the archive.
void requireNoImagesLeft(std::string const& upload)
{
    if (std::any_of(std::begin(CONF::firmwareImages), std::end(CONF::firmwareImages),
                    [&](Image const& image) { return upload == image.name; }))
        throw Failure(upload + ": an archive must not have the name of an image; rename it");
    for (fs::directory_entry const& entry : fs::directory_iterator(boxPath("/tmp"))) {
        std::string const name = entry.path().filename().string();
        if (name != upload && imageSeenIn(name) != nullptr)
            throw Failure("/tmp/" + printable(name) +
                          " is left from an earlier time, and the box "
                          "would install it; delete it with \"dtcctl firmware remove\"");
    }
}

bool isInSafeMode()
{
    LibraryCall const call;
    CONF::Vars vars("");
    vars.read();
    return vars.getVar(CONF::NAME::safeMode) == CONF::VALUE::True;
}

/// The word lasts only as long as the process.
void allowUnsafeUpdate()
{
    LibraryCall const call;
    CONF::Vars request("");
    CONF::setValue(CONF::NAME::_control, CONF::CONTROL::AllowUnsafeUpdate, request);
    request.write();
}

void print(Contents const& contents, bool safe)
{
    for (Image const* const image : contents.images)
        std::printf("%s goes to /dev/mtd%s\n", image->name,
                    safe ? image->partitionInSafeMode : image->partitionOtherwise);
    for (std::string const& name : contents.others)
        std::printf("%s goes to /tmp and stays there\n", printable(name).c_str());
}

int storeShowingProgress(std::string const& upload)
{
    LibraryCall const call;
    Progress const progress("writing; do not switch the box off");
    return CONF::store(upload.c_str());
}

void install(FirmwareOptions const& options)
{
    catchInterrupts(); // so that nothing is left behind
    Contents const contents = contentsOf(options.file);
    std::string const name = uploadName(options.file);
    requireNoImagesLeft(name);
    bool const safe = isInSafeMode();
    if (!safe && !options.unsafe)
        throw Failure("update only allowed from safe mode, where SAFEMODE is true in the "
                      "environment; --unsafe installs all the same");
    print(contents, safe);
    Upload const upload(options.file);
    ignoreInterrupts(); // one would leave a partition half-written
    if (interrupted())
        throw Failure("interrupted: nothing was installed");
    if (!safe)
        allowUnsafeUpdate();
    int const count = storeShowingProgress(name);
    std::printf("%d %s written\n", count, count == 1 ? "image" : "images");
    if (count != static_cast<int>(contents.images.size()))
        throw Failure("the box did not find in /tmp what the archive holds");
}

/// The library takes a path's last component; a file elsewhere is not what it would delete.
std::string nameInTmp(std::string const& file)
{
    fs::path const path(file);
    std::string name = path.filename().string();
    std::error_code error;
    bool const isInTmp = !path.has_parent_path() || path.parent_path() == "/tmp" ||
                         fs::equivalent(path.parent_path(), boxPath("/tmp"), error);
    if (!isInTmp || name.empty() || name == "." || name == "..")
        throw UsageError(printable(file) + ": not the name of a file in /tmp");
    return name;
}

void remove(FirmwareOptions const& options)
{
    std::string const name = nameInTmp(options.file);
    fs::path const place = boxPath("/tmp/" + name);
    fs::file_type const type = fs::symlink_status(place).type();
    if (type == fs::file_type::not_found)
        throw Failure("there is no /tmp/" + printable(name));
    if (type == fs::file_type::directory)
        throw Failure("/tmp/" + printable(name) + ": is a directory");
    {
        LibraryCall const call;
        CONF::remove(name.c_str());
    }
    if (fs::exists(fs::symlink_status(place)))
        throw Failure("/tmp/" + printable(name) + " could not be deleted");
}

} // namespace

void addFirmware(CLI::App& program)
{
    auto const options = std::make_shared<FirmwareOptions>();
    CLI::App& firmware =
        *program.add_subcommand("firmware", "Install firmware into the flash, or delete an upload");
    firmware.require_subcommand(1);
    auto const add = [&](char const* name, char const* help, char const* fileHelp,
                         void (*run)(FirmwareOptions const&)) {
        CLI::App* const command = firmware.add_subcommand(name, help);
        command->add_option("FILE", options->file, fileHelp)->required();
        command->callback([options, run] { run(*options); });
        return command;
    };
    add("install", "Write the images of an archive to the flash",
        "An archive made with \"tar czf\"; one that lies in /tmp itself is deleted", install)
        ->add_flag("--unsafe", options->unsafe, "Outside safe mode too");
    add("remove", "Delete a file from /tmp", "Its name", remove);
}

} // namespace dtcctl
