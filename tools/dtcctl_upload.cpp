#include "tools/dtcctl_upload.h"

#include "tools/dtcctl.h"
#include "tools/dtcctl_box_path.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace dtcctl {
namespace {

namespace fs = std::filesystem;

/// A new file: what is there already, if only a link, is not written to.
void create(std::string const& path, std::string const& name)
{
    int const descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor == -1 && errno == EEXIST)
        throw Failure("there is another /tmp/" + name +
                      "; rename one, or delete that with \"dtcctl firmware remove\"");
    if (descriptor == -1)
        throw Failure("cannot write /tmp/" + name + ": " + std::strerror(errno));
    close(descriptor);
}

} // namespace

std::string uploadName(std::string const& file)
{
    return fs::path(file).filename().string();
}

Upload::Upload(std::string const& file)
{
    std::string const name = uploadName(file);
    std::string const path = boxPath("/tmp/" + name);
    std::error_code error;
    if (fs::equivalent(file, path, error))
        return;
    create(path, name);
    m_copy = path;
    fs::copy_file(file, path, fs::copy_options::overwrite_existing, error);
    if (!error)
        return;
    unlink(path.c_str());
    throw Failure("cannot copy " + file + " to /tmp/" + name + ": " + error.message());
}

Upload::~Upload()
{
    if (!m_copy.empty())
        unlink(m_copy.c_str());
}

} // namespace dtcctl
