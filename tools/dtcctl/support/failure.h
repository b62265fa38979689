/// How a subcommand ends.
#pragma once

#include <stdexcept>

namespace dtcctl {

constexpr int ExitOk = 0;
constexpr int ExitFailed = 1;
constexpr int ExitUsage = 2;

/// Used wrongly: what the command line asks for makes no sense.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// It failed: the text says what and why.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace dtcctl
