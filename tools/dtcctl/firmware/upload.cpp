#include "tools/dtcctl/firmware/upload.h"

#include "tools/dtcctl/box/path.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/text.h"
#include "util/file_stream.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace dtcctl {
namespace {

namespace fs = std::filesystem;

/// A new file: what is there already, if only a link, is not written to.
KORVA::FileStream create(std::string const& path, std::string const& name)
{
    KORVA::FileStream stream(std::fopen(path.c_str(), "wbxe"));
    if (stream == nullptr && errno == EEXIST)
        throw Failure("there is another /tmp/" + name +
                      "; rename one, or delete that with \"dtcctl firmware remove\"");
    if (stream == nullptr)
        throw Failure("cannot write /tmp/" + name + ": " + std::strerror(errno));
    return stream;
}

/// False, with errno, when not all of it could be copied.
bool copy(std::string const& file, KORVA::FileStream target)
{
    KORVA::FileStream const source(std::fopen(file.c_str(), "rbe"));
    if (source == nullptr)
        return false;
    char block[1 << 16];
    std::size_t count = 0;
    while ((count = std::fread(block, 1, sizeof block, source.get())) > 0) {
        if (std::fwrite(block, 1, count, target.get()) != count)
            return false;
    }
    return std::ferror(source.get()) == 0 && std::fclose(target.release()) == 0;
}

} // namespace

std::string uploadName(std::string const& file)
{
    return fs::path(file).filename().string();
}

Upload::Upload(std::string const& file)
{
    std::string const name = printable(uploadName(file));
    std::string path = boxPath("/tmp/" + uploadName(file));
    std::error_code error;
    if (fs::equivalent(file, path, error))
        return;
    KORVA::FileStream target = create(path, name);
    m_copy.swap(path);
    if (copy(file, std::move(target)))
        return;
    std::string const reason = std::strerror(errno);
    unlink(m_copy.c_str());
    throw Failure("cannot copy " + printable(file) + " to /tmp/" + name + ": " + reason);
}

Upload::~Upload()
{
    if (!m_copy.empty())
        unlink(m_copy.c_str());
}

} // namespace dtcctl
