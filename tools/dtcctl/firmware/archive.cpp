#include "tools/dtcctl/firmware/archive.h"

#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace dtcctl {
namespace {

/// tar with the archive as its standard input, so that no name of a file is taken for anything
/// else.
class Listing
{
public:
    /// how: what tar is to do, as its first word.
    Listing(std::string const& file, char const* how) : m_how(how)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw Failure(std::string("cannot run tar: ") + std::strerror(errno));
        m_output = ends[0];
        int const error = start(file, ends[1]);
        close(ends[1]);
        if (error != 0) {
            close(m_output);
            throw Failure("cannot run tar on " + printable(file) + ": " + std::strerror(error));
        }
    }
    ~Listing() { end(); }
    Listing(Listing const&) = delete;
    Listing& operator=(Listing const&) = delete;

    std::string readAll() const
    {
        std::string text;
        char bytes[4096];
        ssize_t count = 0;
        while ((count = read(m_output, bytes, sizeof bytes)) > 0 || (count == -1 && errno == EINTR))
            text.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

    bool endsWell() { return end() == 0; }

private:
    int start(std::string const& file, int output)
    {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, file.c_str(), O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::string words[] = {"tar", m_how, "-"};
        char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
        int const error =
            posix_spawnp(&m_process, arguments[0], &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        return error;
    }

    int end()
    {
        if (m_output == -1)
            return m_status;
        close(m_output);
        m_output = -1;
        while (waitpid(m_process, &m_status, 0) == -1 && errno == EINTR) {
        }
        return m_status;
    }

    char const* m_how;
    pid_t m_process = 0;
    int m_output = -1;
    int m_status = -1;
};

void requireFile(std::string const& file)
{
    if (access(file.c_str(), R_OK) != 0)
        throw Failure("cannot read " + printable(file) + ": " + std::strerror(errno));
    if (!std::filesystem::is_regular_file(file))
        throw Failure(printable(file) + ": not a file");
}

std::vector<std::string> linesOf(std::string const& file, char const* how)
{
    Listing listing(file, how);
    std::istringstream text(listing.readAll());
    bool const isWhole = listing.endsWell();
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

} // namespace dtcctl
