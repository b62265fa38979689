#pragma once

#include <CLI/App.hpp>
#include <string>

namespace dtcctl {

/// How the subcommands that serve answer, and when they end.
struct AnswerOptions
{
    std::string reply = "echo";
    unsigned long count = 0;
    unsigned int maxSizeBytes = 16U << 20;
};

/// The options outlive the command's parsing.
void addAnswerOptions(CLI::App& command, AnswerOptions& options);

} // namespace dtcctl
