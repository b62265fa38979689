#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/connection.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/options.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <set>

namespace dtcctl {
namespace {

class Serving
{
public:
    explicit Serving(AnswerOptions const& options)
        : m_options(options), m_buffer(options.maxSizeBytes),
          m_connection(Connection::serve(options.service))
    {}

    void run()
    {
        catchInterrupts();
        std::printf("serving %s on port %u\n", m_options.service.c_str(), m_connection.localId());
        while (!interrupted() && (m_options.count == 0 || m_messages < m_options.count))
            serveOne(m_connection.receive(m_buffer, 500));
        if (!interrupted())
            letClientsLeave();
        std::printf("served %lu message%s\n", m_messages, m_messages == 1 ? "" : "s");
    }

private:
    void serveOne(Received const& message)
    {
        if (message.status == DTC_IO_DISCONNECTED)
            return onNoClient();
        m_connected = true;
        if (message.status == DTC_IO_SUCCESS)
            return onMessage(message);
        if (message.status == DTC_IO_TIMEOUT)
            return;
        std::fprintf(stderr, "dtcctl: receive: %s\n", failureText(message.status).c_str());
        sleepUnlessInterrupted(50); // it may go on failing at once
    }

    /// Closing resets the clients, and a reply still under way would be lost: they may leave first.
    void letClientsLeave()
    {
        constexpr auto patience = std::chrono::seconds(1);
        auto const end = std::chrono::steady_clock::now() + patience;
        while (m_connected && !interrupted() && std::chrono::steady_clock::now() < end) {
            if (m_connection.receive(m_buffer, 100).status == DTC_IO_DISCONNECTED)
                onNoClient();
        }
    }

    void onNoClient()
    {
        if (m_connected)
            std::printf("the last client has gone\n");
        m_connected = false;
        m_met.clear();
    }

    void onMessage(Received const& message)
    {
        ++m_messages;
        if (m_met.insert(message.clientId).second)
            std::printf("client %u\n", message.clientId);
        std::printf("message from %u: %u byte%s, tag %u\n", message.clientId, message.length,
                    message.length == 1 ? "" : "s", message.tag);
        if (m_options.reply != "echo")
            return;
        DTC_IO_STATUS const status =
            m_connection.send(message.clientId, message.tag, m_buffer, message.length);
        if (status != DTC_IO_SUCCESS)
            std::fprintf(stderr, "dtcctl: reply to %u: %s\n", message.clientId,
                         failureText(status).c_str());
    }

    AnswerOptions const& m_options;
    Buffer m_buffer;
    Connection m_connection;
    std::set<unsigned int> m_met;
    unsigned long m_messages = 0;
    bool m_connected = false;
};

} // namespace

void addServe(CLI::App& program)
{
    auto const options = std::make_shared<AnswerOptions>();
    CLI::App& command = *program.add_subcommand(
        "serve", "Serve a service and tell what happens, until interrupted");
    addService(command, options->service);
    addAnswerOptions(command, *options);
    command.callback([options] { Serving(*options).run(); });
}

} // namespace dtcctl
