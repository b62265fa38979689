#include "tools/dtcctl_options.h"

namespace dtcctl {

void addAnswerOptions(Command const& command, AnswerOptions& options)
{
    command.option("--reply", options.reply, "What each message is answered with")
        .among({"echo", "none"});
    command.option("--count", options.count, "End after so many messages (0: never)");
    command.option("--max-size", options.maxSizeBytes, "Largest message accepted, in bytes")
        .between(1U, 1U << 30);
}

void addAddress(Command const& command, std::string& address)
{
    command.argument("ADDRESS", address, "The box: 192.168.1.100, a name, 0xC0A80164").required();
}

void addService(Command const& command, std::string& service)
{
    command.option("--service", service, "dtc_io or dtc_conf").among({"dtc_io", "dtc_conf"});
}

} // namespace dtcctl
