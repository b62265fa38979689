#include "tools/dtcctl/support/options.h"

#include <map>
#include <utility>

namespace dtcctl {
namespace {

std::map<CLI::Option const*, Words>& offers()
{
    static std::map<CLI::Option const*, Words> words;
    return words;
}

} // namespace

void offer(CLI::Option const* option, Words words)
{
    offers()[option] = std::move(words);
}

Words offeredFor(CLI::Option const* option)
{
    return offers()[option];
}

CLI::Option* among(CLI::Option* option, Words const& words)
{
    offer(option, words);
    return option->check(CLI::IsMember(words));
}

void addAnswerOptions(CLI::App& command, AnswerOptions& options)
{
    among(command.add_option("--reply", options.reply, "What each message is answered with"),
          {"echo", "none"});
    command.add_option("--count", options.count, "End after so many messages (0: never)");
    command.add_option("--max-size", options.maxSizeBytes, "Largest message accepted, in bytes")
        ->check(CLI::Range(1U, 1U << 30));
}

void addAddress(CLI::App& command, std::string& address)
{
    command.add_option("ADDRESS", address, "The box: 192.168.1.100, a name, 0xC0A80164")
        ->required();
}

void addService(CLI::App& command, std::string& service)
{
    among(command.add_option("--service", service, "dtc_io or dtc_conf"), {"dtc_io", "dtc_conf"});
}

} // namespace dtcctl
