/// Options that several subcommands have.
#pragma once

#include "tools/dtcctl_command.h"

#include <string>

namespace dtcctl {

/// How the subcommands that serve answer, and when they end.
struct AnswerOptions
{
    std::string reply = "echo";
    unsigned long count = 0;
    unsigned int maxSizeBytes = 16U << 20;
};

// What the options are stored in outlives the command's parsing.
void addAnswerOptions(Command const& command, AnswerOptions& options);
void addAddress(Command const& command, std::string& address);
void addService(Command const& command, std::string& service);

} // namespace dtcctl
