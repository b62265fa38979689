#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/connection.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/input.h"
#include "tools/dtcctl/support/options.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <unistd.h>

namespace dtcctl {
namespace {

struct SendOptions
{
    std::string address;
    std::string service = "dtc_io";
    unsigned int tag = 0;
    unsigned int timeoutMs = 5000;
    unsigned int maxSizeBytes = 16U << 20;
    bool noReply = false;
    std::string text;
    std::string file;
};

std::string messageOf(SendOptions const& options)
{
    bool const isGiven = options.file.empty() && options.text != "-";
    std::string message =
        isGiven ? options.text : readInput(options.file.empty() ? "-" : options.file);
    if (message.empty())
        throw UsageError("a message holds at least one byte");
    if (message.size() > std::numeric_limits<unsigned int>::max())
        throw UsageError("a message holds less than 4 GiB");
    return message;
}

/// The reply's bytes as they are; a terminal gets the line feed that the reply may lack.
void printReply(Buffer& buffer, Received const& reply)
{
    std::fwrite(buffer.bytes(), 1, reply.length, stdout);
    if (isatty(STDOUT_FILENO) == 1 && buffer.bytes()[reply.length - 1] != '\n')
        std::putchar('\n');
    std::fflush(stdout);
    std::fprintf(stderr, "reply: %u byte%s, tag %u\n", reply.length, reply.length == 1 ? "" : "s",
                 reply.tag);
}

void sendMessage(SendOptions const& options)
{
    std::string const message = messageOf(options);
    Connection connection = Connection::open(options.address, options.service);
    Buffer outgoing(static_cast<unsigned int>(message.size()));
    std::memcpy(outgoing.bytes(), message.data(), message.size());
    DTC_IO_STATUS const sent = connection.send(0, options.tag, outgoing, outgoing.size());
    if (sent != DTC_IO_SUCCESS)
        throw Failure("send: " + failureText(sent));
    if (options.noReply)
        return;
    Buffer incoming(options.maxSizeBytes);
    Received const reply = connection.receive(incoming, options.timeoutMs);
    if (reply.status != DTC_IO_SUCCESS)
        throw Failure("no reply: " + failureText(reply.status));
    printReply(incoming, reply);
}

} // namespace

void addSend(CLI::App& program)
{
    auto const options = std::make_shared<SendOptions>();
    CLI::App& command = *program.add_subcommand("send", "Send one message and print the reply");
    addAddress(command, options->address);
    addService(command, options->service);
    command.add_option("--tag", options->tag, "The message's tag");
    command.add_option("--timeout", options->timeoutMs, "How long to wait for a reply, in ms");
    command.add_option("--max-size", options->maxSizeBytes, "Largest reply accepted, in bytes")
        ->check(CLI::Range(1U, 1U << 30));
    command.add_flag("--no-reply", options->noReply, "Do not wait for a reply");
    CLI::Option* const file = command.add_option("--file", options->file, "Send a file's bytes");
    CLI::Option* const text =
        command.add_option("TEXT", options->text, "The message; - reads standard input");
    file->excludes(text);
    command.callback([=] {
        if (file->empty() && text->empty())
            throw UsageError("nothing to send: give TEXT, - or --file");
        sendMessage(*options);
    });
}

} // namespace dtcctl
