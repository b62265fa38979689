/// Running dtcctl and the examples as programs of their own.
#pragma once

#include "tests/support/box_state.h"
#include "tests/support/child.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace testing_support {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

inline std::vector<std::string> commandLine(std::vector<std::string> arguments,
                                            std::string const& program = "dtcctl")
{
    arguments.insert(arguments.begin(), PROGRAM_DIRECTORY + program);
    return arguments;
}

/// The output; the exit status must be as expected.
inline std::string dtcctl(std::vector<std::string> const& arguments, int status = 0)
{
    Child child(commandLine(arguments));
    EXPECT_EQ(child.wait(), status) << child.output();
    return child.output();
}

inline std::string dtcctl(char const* line, int status = 0)
{
    return dtcctl(words(line), status);
}

/// A new file with the content, beside the box.
inline std::string fileWith(std::string const& content)
{
    std::string const name = KORVA::DTC::PLATFORM::boxRoot() + "/../new file; rm *";
    std::ofstream(name, std::ios::binary) << content;
    return name;
}

} // namespace testing_support
