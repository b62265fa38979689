#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace testing_support {

/// A child process whose standard output and standard error are read through one pipe. The
/// destructor kills it when it still runs.
class Child
{
public:
    explicit Child(std::vector<std::string> const& command);
    ~Child();
    Child(Child const&) = delete;
    Child& operator=(Child const&) = delete;

    /// Reads output until it contains text; false when the output ends before.
    bool waitForOutput(std::string const& text);

    void signal(int number);

    /// Reads the rest of the output and waits for the end: the exit status, or minus the signal.
    int wait();

    std::string const& output() const { return m_output; }

private:
    bool readSome();

    pid_t m_pid = -1;
    int m_pipe = -1;
    std::string m_output;
};

} // namespace testing_support
