#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/connection.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/options.h"
#include "tools/dtcctl/support/round_trips.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;

struct PingOptions
{
    std::string address;
    std::string service = "dtc_io";
    unsigned long count = 0;
    unsigned int sizeBytes = 56;
    double intervalSeconds = 1;
    unsigned int timeoutMs = 1000;
    bool quiet = false;
};

/// A range alone lets "nan" pass.
std::string refuseNan(std::string const& text)
{
    return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + ": not a number" : "";
}

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

class Pinging
{
public:
    explicit Pinging(PingOptions const& options)
        : m_options(options), m_outgoing(options.sizeBytes), m_incoming(options.sizeBytes),
          m_connection(Connection::open(options.address, options.service))
    {}

    void run()
    {
        catchInterrupts();
        std::printf("PING %s (%s) %u bytes of data.\n", m_options.address.c_str(),
                    m_options.service.c_str(), m_options.sizeBytes);
        while (!interrupted() && m_failure.empty() &&
               (m_options.count == 0 || m_transmitted < m_options.count)) {
            if (m_transmitted > 0)
                sleepUnlessInterrupted(
                    static_cast<unsigned int>(std::lround(m_options.intervalSeconds * 1000)));
            if (!interrupted())
                pingOnce();
        }
        printSummary();
        if (!m_failure.empty())
            throw Failure(m_failure);
        if (m_roundTrips.count() == 0)
            throw CLI::RuntimeError(ExitFailed);
    }

private:
    void pingOnce()
    {
        unsigned int const sequence = static_cast<unsigned int>(++m_transmitted);
        // Every reply can be told from every other one by its content too.
        for (unsigned int i = 0; i < m_outgoing.size(); ++i)
            m_outgoing.bytes()[i] = static_cast<unsigned char>(sequence + i);
        Clock::time_point const start = Clock::now();
        DTC_IO_STATUS const sent = m_connection.send(0, sequence, m_outgoing, m_outgoing.size());
        if (sent != DTC_IO_SUCCESS) {
            m_failure = "send: " + failureText(sent);
            return;
        }
        std::optional<double> const milliseconds = awaitReply(sequence, start);
        if (!milliseconds)
            return;
        m_roundTrips.add(*milliseconds);
        if (!m_options.quiet)
            std::printf("%u bytes from %s: seq=%u time=%.3f ms\n", m_incoming.size(),
                        m_options.address.c_str(), sequence, *milliseconds);
    }

    /// The time until the reply to this message; late replies to earlier ones are passed over.
    std::optional<double> awaitReply(unsigned int sequence, Clock::time_point start)
    {
        for (;;) {
            double const left = m_options.timeoutMs - millisecondsSince(start);
            Received const reply =
                m_connection.receive(m_incoming, left > 0 ? static_cast<unsigned int>(left) : 0);
            double const milliseconds = millisecondsSince(start);
            if (reply.status == DTC_IO_TIMEOUT || interrupted()) {
                if (!m_options.quiet && !interrupted())
                    std::printf("no reply: seq=%u\n", sequence);
                return std::nullopt;
            }
            if (reply.status == DTC_IO_INVALID)
                continue; // larger than what was sent, so no reply to it; it is gone
            if (reply.status != DTC_IO_SUCCESS) {
                m_failure = "receive: " + failureText(reply.status);
                return std::nullopt;
            }
            if (reply.tag != sequence)
                continue;
            if (reply.length == m_outgoing.size() &&
                std::memcmp(m_incoming.bytes(), m_outgoing.bytes(), m_outgoing.size()) == 0)
                return milliseconds;
            m_failure = "the reply differs from what was sent";
            return std::nullopt;
        }
    }

    void printSummary() const
    {
        std::size_t const received = m_roundTrips.count();
        double const loss = m_transmitted == 0
                                ? 0
                                : 100.0 * static_cast<double>(m_transmitted - received) /
                                      static_cast<double>(m_transmitted);
        std::printf("\n--- %s ping statistics ---\n", m_options.address.c_str());
        std::printf("%lu packets transmitted, %zu received, %.4g%% packet loss, time %.0fms\n",
                    m_transmitted, received, loss, millisecondsSince(m_start));
        if (received > 0)
            std::printf("rtt min/avg/max/mdev = %.3f/%.3f/%.3f/%.3f ms\n", m_roundTrips.minimum(),
                        m_roundTrips.average(), m_roundTrips.maximum(), m_roundTrips.deviation());
    }

    PingOptions const& m_options;
    Buffer m_outgoing;
    Buffer m_incoming;
    Connection m_connection;
    RoundTrips m_roundTrips;
    Clock::time_point m_start = Clock::now();
    unsigned long m_transmitted = 0;
    std::string m_failure;
};

} // namespace

void addPing(CLI::App& program)
{
    auto const options = std::make_shared<PingOptions>();
    CLI::App& command =
        *program.add_subcommand("ping", "Time round trips to a serving program that echoes");
    addAddress(command, options->address);
    addService(command, options->service);
    command.add_option("-c,--count", options->count, "End after so many messages (0: never)");
    command.add_option("-s,--size", options->sizeBytes, "Bytes in each message")
        ->check(CLI::Range(1U, 1U << 30));
    command.add_option("-i,--interval", options->intervalSeconds, "Seconds between messages")
        ->check(CLI::Range(0.0, 3600.0) & CLI::Validator(refuseNan, "", ""));
    command.add_option("-W,--timeout", options->timeoutMs, "How long to wait for a reply, in ms");
    command.add_flag("-q,--quiet", options->quiet, "Print the summary only");
    command.callback([options] { Pinging(*options).run(); });
}

} // namespace dtcctl
