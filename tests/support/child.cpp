#include "tests/support/child.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

extern char** environ;

namespace testing_support {

Child::Child(std::vector<std::string> const& command)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2");
    m_pipe = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    std::vector<char*> arguments;
    for (std::string const& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    int const error =
        posix_spawn(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0)
        throw std::runtime_error("cannot start " + command[0]);
}

Child::~Child()
{
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        wait();
    }
    close(m_pipe);
}

bool Child::readSome()
{
    char bytes[4096];
    ssize_t const count = read(m_pipe, bytes, sizeof bytes);
    if (count > 0)
        m_output.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
}

bool Child::waitForOutput(std::string const& text)
{
    while (m_output.find(text) == std::string::npos) {
        if (!readSome())
            return false;
    }
    return true;
}

void Child::signal(int number)
{
    kill(m_pid, number);
}

int Child::wait()
{
    while (readSome()) {
    }
    int status = 0;
    waitpid(std::exchange(m_pid, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace testing_support
