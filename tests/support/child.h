#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace testing_support {

/// A number, 0 at first, that processes forked later share.
inline std::atomic<int>& newSharedNumber()
{
    void* const page = mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *new (page) std::atomic<int>(0);
}

/// Waits until a number that others change is large enough.
inline void awaitAtLeast(std::atomic<int> const& number, int least)
{
    while (number < least)
        std::this_thread::sleep_for(std::chrono::microseconds(100));
}

/// A forked process that runs a function, and ends with 0 when none of its checks has failed. The
/// destructor kills it when it still runs.
class Fork
{
public:
    template <typename Body>
    explicit Fork(Body body) : m_pid(fork())
    {
        if (m_pid != 0)
            return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        [&]() noexcept { body(); }(); // no exception may lead the child into the next test
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    ~Fork()
    {
        if (m_pid > 0) {
            signal(SIGKILL);
            wait();
        }
    }
    Fork(Fork const&) = delete;
    Fork& operator=(Fork const&) = delete;

    void signal(int number) { kill(m_pid, number); }

    /// Waits for the end: the exit status, or minus the signal.
    int wait()
    {
        int status = 0;
        waitpid(std::exchange(m_pid, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t m_pid;
};

/// The words of a command line in which nothing is quoted.
inline std::vector<std::string> words(std::string const& line)
{
    std::istringstream text(line);
    return {std::istream_iterator<std::string>(text), {}};
}

/// A program whose standard output and standard error are read through one pipe, killed by the
/// destructor when it still runs. One that cannot be started ends with 127.
class Child
{
public:
    explicit Child(std::vector<std::string> command)
    {
        EXPECT_EQ(pipe2(m_pipe, O_CLOEXEC), 0);
        std::vector<char*> arguments;
        for (std::string& word : command)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        m_process.emplace([&] {
            dup2(m_pipe[1], STDOUT_FILENO);
            dup2(m_pipe[1], STDERR_FILENO);
            execv(arguments[0], arguments.data());
            _exit(127);
        });
        close(m_pipe[1]);
    }
    ~Child() { close(m_pipe[0]); }

    /// Reads output until it contains text; false when the output ends before.
    bool waitForOutput(std::string const& text)
    {
        while (m_output.find(text) == std::string::npos && readSome()) {
        }
        return m_output.find(text) != std::string::npos;
    }

    void signal(int number) { m_process->signal(number); }

    /// Reads the rest of the output and waits for the end: the exit status, or minus the signal.
    int wait()
    {
        while (readSome()) {
        }
        return m_process->wait();
    }

    std::string const& output() const { return m_output; }

private:
    bool readSome()
    {
        char bytes[4096];
        ssize_t const count = read(m_pipe[0], bytes, sizeof bytes);
        m_output.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    std::optional<Fork> m_process;
    int m_pipe[2] = {-1, -1};
    std::string m_output;
};

} // namespace testing_support
