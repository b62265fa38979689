#include "tools/dtcctl_answer.h"

#include <CLI/CLI.hpp>

namespace dtcctl {

void addAnswerOptions(CLI::App& command, AnswerOptions& options)
{
    command.add_option("--reply", options.reply, "What each message is answered with")
        ->check(CLI::IsMember({"echo", "none"}))
        ->capture_default_str();
    command.add_option("--count", options.count, "End after so many messages (0: never)")
        ->capture_default_str();
    command.add_option("--max-size", options.maxSizeBytes, "Largest message accepted, in bytes")
        ->check(CLI::Range(1U, 1U << 30))
        ->capture_default_str();
}

} // namespace dtcctl
