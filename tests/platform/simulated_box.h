#pragma once

#include "platform/platform.h"

#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

namespace testing_support {

/// Each test has a box of its own, beside that of its process.
class NewBox : public testing::Test
{
protected:
    NewBox()
    {
        static int boxes = 0;
        setenv("DTC_BOX_ROOT", (previous + "-" + std::to_string(++boxes)).c_str(), 1);
    }
    ~NewBox() override { setenv("DTC_BOX_ROOT", previous.c_str(), 1); }

    std::string const previous = std::getenv("DTC_BOX_ROOT");
};

/// An I2C node of the box, bound to an address unless that is 0.
class Node
{
public:
    explicit Node(char const* path, unsigned int address)
        : descriptor(KORVA::DTC::PLATFORM::openDevice(path, O_RDWR))
    {
        bool const served =
            address == 0 || KORVA::DTC::PLATFORM::bindDevice(descriptor, address) == 0;
        EXPECT_TRUE(served) << path;
    }
    ~Node() { KORVA::DTC::PLATFORM::closeDevice(descriptor); }
    Node(Node const&) = delete;
    Node& operator=(Node const&) = delete;

    bool write(std::string const& bytes)
    {
        return KORVA::DTC::PLATFORM::writeDevice(descriptor, bytes.data(), bytes.size()) ==
               static_cast<ssize_t>(bytes.size());
    }

    /// The bytes read, or none when that failed.
    std::string read(std::size_t count)
    {
        std::string bytes(count, '\0');
        bool const isRead = KORVA::DTC::PLATFORM::readDevice(descriptor, bytes.data(), count) ==
                            static_cast<ssize_t>(count);
        return isRead ? bytes : "";
    }

    int const descriptor;
};

struct ShellResult
{
    std::string output;
    int status; ///< as the shell exits
};

inline ShellResult runInShell(std::string const& command)
{
    std::FILE* const stream = KORVA::DTC::PLATFORM::openShell(command.c_str());
    if (stream == nullptr)
        return {"", -1};
    std::string output;
    for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
        output += static_cast<char>(c);
    int const status = KORVA::DTC::PLATFORM::closeShell(stream);
    return {output, WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

} // namespace testing_support
