// One end of one road, in a process of its own: contender server|client DESCRIPTOR [PORT]. The road
// is chosen by the build. Started by bench_compare, which is at the other end of the descriptor.
#include BENCH_ROAD_HEADER
#include "bench/compare/exchange.h"
#include "bench/statistics.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>
#include <vector>

namespace {

using bench::Cost;
using bench::Exchange;

class Stopwatch
{
public:
    Cost read() const
    {
        return {bench::secondsOn(CLOCK_MONOTONIC) - m_start,
                bench::secondsOn(CLOCK_PROCESS_CPUTIME_ID) - m_processorStart};
    }

private:
    double m_start = bench::secondsOn(CLOCK_MONOTONIC);
    double m_processorStart = bench::secondsOn(CLOCK_PROCESS_CPUTIME_ID);
};

template <typename End>
void serveOnce(End& end, Exchange const& exchange, unsigned int* buffer)
{
    for (unsigned int i = 0; i < exchange.group; ++i)
        end.receive(buffer, exchange.length);
    end.send(1, buffer, exchange.replyLength);
}

template <typename End>
void askOnce(End& end, Exchange const& exchange, unsigned int* buffer)
{
    for (unsigned int i = 0; i < exchange.group; ++i)
        end.send(1, buffer, exchange.length);
    end.receive(buffer, exchange.length);
}

template <typename End>
void run(End& end, int orders, void (*once)(End&, Exchange const&, unsigned int*))
{
    std::vector<unsigned int> buffer;
    Exchange exchange{};
    while (read(orders, &exchange, sizeof exchange) == sizeof exchange) {
        buffer.resize(std::max<std::size_t>(buffer.size(), exchange.length / sizeof(unsigned int)));
        once(end, exchange, buffer.data());
        Stopwatch const stopwatch;
        for (unsigned int i = 0; i < exchange.repeats; ++i)
            once(end, exchange, buffer.data());
        Cost const cost = stopwatch.read();
        if (write(orders, &cost, sizeof cost) != sizeof cost)
            break;
    }
}

void tellPort(int orders, unsigned int port)
{
    if (write(orders, &port, sizeof port) != sizeof port)
        std::exit(1);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s server|client DESCRIPTOR [PORT]\n", argv[0]);
        return 2;
    }
    int const orders = std::atoi(argv[2]);
    if (std::strcmp(argv[1], "server") == 0) {
        BENCH_ROAD::Server server;
        tellPort(orders, server.port());
        run(server, orders, serveOnce<BENCH_ROAD::Server>);
    } else {
        BENCH_ROAD::Client client(static_cast<unsigned int>(std::atoi(argc > 3 ? argv[3] : "0")));
        tellPort(orders, 0);
        run(client, orders, askOnce<BENCH_ROAD::Client>);
    }
    return 0;
}
