#include "tools/dtcctl/firmware/archive.h"

#include "tools/dtcctl/box/path.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/input.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace dtcctl {
namespace {

namespace fs = std::filesystem;

void requireFile(std::string const& file)
{
    if (access(file.c_str(), R_OK) != 0)
        throw Failure("cannot read " + printable(file) + ": " + std::strerror(errno));
    if (!fs::is_regular_file(file))
        throw Failure(printable(file) + ": not a file");
}

/// What tar lists, told how by its first word. The archive is its standard input, so that no name
/// of a file is taken for anything else.
std::vector<std::string> linesOf(std::string const& file, std::string const& how)
{
    bool const isOpen = std::freopen(file.c_str(), "rb", stdin) != nullptr;
    std::string const command = "exec tar " + how + " - 2>/dev/null";
    std::FILE* const tar = isOpen ? popen(command.c_str(), "re") : nullptr;
    if (tar == nullptr)
        throw Failure("cannot run tar on " + printable(file) + ": " + std::strerror(errno));
    std::istringstream text(readAll(tar));
    bool const isWhole = pclose(tar) == 0;
    if (interrupted())
        throw Failure("interrupted: nothing was done");
    if (!isWhole)
        throw Failure(printable(file) +
                      ": damaged, or no archive made with \"tar czf\"; nothing was done");
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

std::vector<std::string> membersOf(std::string const& file)
{
    requireFile(file);
    unsetenv("TAR_OPTIONS"); // could change the listing
    for (std::string const& line : linesOf(file, "tvzf")) {
        if (line.empty() || (line.front() != '-' && line.front() != 'd'))
            throw Failure(printable(file) + ": holds more than files and directories, \"" +
                          printable(line) + "\"; nothing was done");
    }
    return linesOf(file, "tzf");
}

std::string uploadName(std::string const& file)
{
    return fs::path(file).filename().string();
}

Upload::Upload(std::string const& file)
{
    std::string const name = printable(uploadName(file));
    std::string const path = boxPath("/tmp/" + uploadName(file));
    std::error_code error;
    if (fs::equivalent(file, path, error))
        return;
    bool const isTaken = fs::exists(fs::symlink_status(path)); // if only by a link
    if (!isTaken && fs::copy_file(file, path, error)) {
        m_copy = path;
        return;
    }
    if (isTaken || error == std::errc::file_exists)
        throw Failure("there is another /tmp/" + name +
                      "; rename one, or delete that with \"dtcctl firmware remove\"");
    unlink(path.c_str()); // what could be copied
    throw Failure("cannot copy " + printable(file) + " to /tmp/" + name + ": " + error.message());
}

Upload::~Upload()
{
    if (!m_copy.empty())
        unlink(m_copy.c_str());
}

} // namespace dtcctl
