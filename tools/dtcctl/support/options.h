/// Options that several subcommands have. What they are stored in outlives the parsing.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace dtcctl {

using Words = std::vector<std::string>;

/// What completion offers for an option's or argument's value.
void offer(CLI::Option const* option, Words words);
Words offeredFor(CLI::Option const* option);

/// Takes these words only, and offers them.
CLI::Option* among(CLI::Option* option, Words const& words);

/// How the subcommands that serve answer, and when they end.
struct AnswerOptions
{
    std::string service = "dtc_io";
    std::string reply = "echo";
    unsigned long count = 0;
    unsigned int maxSizeBytes = 16U << 20;
};

void addAnswerOptions(CLI::App& command, AnswerOptions& options);
void addAddress(CLI::App& command, std::string& address);
void addService(CLI::App& command, std::string& service);

} // namespace dtcctl
