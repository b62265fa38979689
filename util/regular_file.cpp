#include "util/regular_file.h"

#include "util/descriptor.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace KORVA {
namespace {

OwnedDescriptor openHere(std::string const& path, int flags, mode_t mode = 0)
{
    int const all = flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    return OwnedDescriptor(aboveStandardStreams(open(path.c_str(), all, mode)));
}

/// Sets errno when the descriptor is none, or not a regular file's, or the file has more names.
bool isRegular(int descriptor, nlink_t mostNames)
{
    struct stat status
    {};
    if (descriptor == -1 || fstat(descriptor, &status) == -1)
        return false;
    errno = EINVAL;
    return S_ISREG(status.st_mode) && status.st_nlink <= mostNames;
}

/// Whether the name is free, or that of a regular file.
bool canBeReplaced(std::string const& path)
{
    struct stat status
    {};
    if (lstat(path.c_str(), &status) == -1)
        return errno == ENOENT;
    errno = EINVAL;
    return S_ISREG(status.st_mode);
}

bool writeWhole(int descriptor, std::string const& text)
{
    for (std::size_t written = 0; written < text.size();) {
        ssize_t const count = write(descriptor, &text[written], text.size() - written);
        if (count == -1 && errno != EINTR)
            return false;
        written += static_cast<std::size_t>(count == -1 ? 0 : count);
    }
    return true;
}

bool writeAndClose(int descriptor, std::string const& text)
{
    if (writeWhole(descriptor, text))
        return close(descriptor) == 0;
    int const error = errno;
    close(descriptor);
    errno = error;
    return false;
}

void discard(std::string const& name)
{
    int const error = errno;
    unlink(name.c_str());
    errno = error;
}

/// Makes a file that did not exist; -1 and errno when it cannot be made. What a process that ended
/// before its time has left under such a name is in nobody's way.
int createBeside(std::string const& path, std::string& name)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        auto const now = std::chrono::steady_clock::now().time_since_epoch().count();
        name = path + "." + std::to_string(getpid()) + "." + std::to_string(now);
        OwnedDescriptor file = openHere(name, O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (file.get() != -1)
            return file.release();
        if (errno != EEXIST)
            break;
    }
    return -1;
}

/// False, with errno, and no new file left when it cannot be done.
bool replaceByNewFile(std::string const& path, std::string const& text)
{
    std::string name;
    int const descriptor = createBeside(path, name);
    if (descriptor != -1 && writeAndClose(descriptor, text) &&
        rename(name.c_str(), path.c_str()) == 0)
        return true;
    if (errno != EEXIST) // by no chance another one's
        discard(name);
    return false;
}

/// The room that the file has already is used; it is not given up before the text is in it.
bool overwrite(std::string const& path, std::string const& text)
{
    OwnedDescriptor const file = openHere(path, O_WRONLY);
    return isRegular(file.get(), 1) && writeWhole(file.get(), text) &&
           ftruncate(file.get(), static_cast<off_t>(text.size())) == 0;
}

} // namespace

FileStream openRegularFile(std::string const& path)
{
    OwnedDescriptor file = openHere(path, O_RDONLY);
    if (!isRegular(file.get(), static_cast<nlink_t>(-1)))
        return nullptr;
    FileStream stream(fdopen(file.get(), "r"));
    if (stream != nullptr)
        static_cast<void>(file.release());
    return stream;
}

bool replaceRegularFile(std::string const& path, std::string const& text)
{
    if (!canBeReplaced(path))
        return false;
    if (replaceByNewFile(path, text))
        return true;
    constexpr int noSecondFile[] = {ENOSPC, EDQUOT, EACCES, EPERM, EBUSY};
    bool const mayOverwrite = std::find(std::begin(noSecondFile), std::end(noSecondFile), errno) !=
                              std::end(noSecondFile);
    return mayOverwrite && overwrite(path, text);
}

} // namespace KORVA
