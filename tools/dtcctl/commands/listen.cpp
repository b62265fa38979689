#include <skylark_io/loader/io_adapter_listener.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/connection.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/library_call.h"
#include "tools/dtcctl/support/options.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <set>

namespace dtcctl {
namespace {

using KORVA::DTC::IOAdapter_Connection;
using KORVA::DTC::IOAdapterListener;

struct ListenOptions : AnswerOptions
{
    std::vector<std::string> devices;
};

/// To standard error, a line each.
class StderrLogger final : public KORVA::DTC::DTC_Logger
{
public:
    void log_info(char const* format, ...) override __attribute__((format(printf, 2, 3)))
    {
        va_list arguments;
        va_start(arguments, format);
        std::vfprintf(stderr, format, arguments); // its lines end in a line feed
        va_end(arguments);
    }

    /// The listener prints its errors too.
    void log_error(char const* /*format*/, ...) override {}
};

class Listening
{
public:
    explicit Listening(ListenOptions& options)
        : m_options(options), m_buffer(options.maxSizeBytes),
          m_listener(listenTo(options, m_logger))
    {
        if (m_listener.connection_count() == 0)
            throw Failure("no device serves " + options.service);
    }

    void run()
    {
        catchInterrupts();
        while (!interrupted() && (m_options.count == 0 || m_messages < m_options.count))
            listenOnce(500);
        if (!interrupted())
            letClientsLeave();
        std::printf("served %lu message%s\n", m_messages, m_messages == 1 ? "" : "s");
    }

private:
    static IOAdapterListener listenTo(ListenOptions& options, StderrLogger& logger)
    {
        LibraryCall const call;
        return {options.devices, options.service.c_str(), logger};
    }

    /// With a pause where an adapter does not wait, as without clients, or fails.
    void listenOnce(unsigned int timeoutMs)
    {
        using Clock = std::chrono::steady_clock;
        constexpr unsigned int pauseMs = 50;
        auto const begin = Clock::now();
        IOAdapter_Connection* const ready = m_listener.listen(timeoutMs);
        bool const isIdle = ready == nullptr
                                ? Clock::now() - begin < std::chrono::milliseconds(pauseMs)
                                : !receiveFrom(*ready);
        if (isIdle)
            sleepUnlessInterrupted(pauseMs);
    }

    /// False without a message.
    bool receiveFrom(IOAdapter_Connection& connection)
    {
        Received message{};
        message.status = connection.receive(&message.clientId, &message.tag, m_buffer.words(),
                                            m_buffer.size(), &message.length, 0);
        if (message.status == DTC_IO_SUCCESS) {
            onMessage(connection, message);
            return true;
        }
        if (message.status == DTC_IO_DISCONNECTED) {
            if (m_clients.erase(&connection) > 0)
                std::printf("the last client of %u has gone\n", idOf(connection));
        } else if (message.status != DTC_IO_TIMEOUT) {
            std::fprintf(stderr, "dtcctl: receive: %s\n", connection.get_error());
        }
        return false;
    }

    void onMessage(IOAdapter_Connection& connection, Received const& message)
    {
        ++m_messages;
        m_clients.insert(&connection);
        std::printf("message from %u at %u: %u byte%s, tag %u\n", message.clientId,
                    idOf(connection), message.length, message.length == 1 ? "" : "s", message.tag);
        if (m_options.reply != "echo")
            return;
        unsigned int sent = 0;
        if (connection.send(message.clientId, message.tag, m_buffer.words(), message.length,
                            &sent) != DTC_IO_SUCCESS)
            std::fprintf(stderr, "dtcctl: reply to %u: %s\n", message.clientId,
                         connection.get_error());
    }

    /// Closing may cost the clients a reply still under way.
    void letClientsLeave()
    {
        for (int i = 0; i < 10 && !m_clients.empty() && !interrupted(); ++i)
            listenOnce(100);
    }

    /// What its adapter calls this end: for skylark_io.so the port it listens on.
    static unsigned int idOf(IOAdapter_Connection& connection)
    {
        unsigned int id = 0;
        connection.get_local_id(&id);
        return id;
    }

    ListenOptions& m_options;
    Buffer m_buffer;
    StderrLogger m_logger;
    IOAdapterListener m_listener;
    std::set<IOAdapter_Connection*> m_clients; ///< The connections that have some.
    unsigned long m_messages = 0;
};

} // namespace

void addListen(CLI::App& program)
{
    auto const options = std::make_shared<ListenOptions>();
    CLI::App& command = *program.add_subcommand(
        "listen", "Serve a service on several devices, each by its adapter library");
    command.add_option("DEVICE", options->devices, "skylark0 stands for skylark_io.so, and so on")
        ->default_str("")
        ->required();
    command.add_option("--service", options->service, "The service");
    addAnswerOptions(command, *options);
    command.callback([options] { Listening(*options).run(); });
}

} // namespace dtcctl
