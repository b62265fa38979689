// One end of one road, in a process of its own: contender [PORT], the port being the server's. The
// road is chosen by the build. Tells its own port, then answers each line of orders, "GROUP LENGTH
// REPLY_LENGTH REPEATS": so often so many messages of a length to the server, and then one reply,
// with the seconds and the processor seconds that it took: "SECONDS PROCESSOR_SECONDS".
#include "bench/road.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <unistd.h>
#include <vector>

namespace {

struct Exchange
{
    unsigned int group;
    unsigned int length;
    unsigned int replyLength;
    unsigned int repeats;
};

double secondsOn(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void serveOnce(bench::End& end, Exchange const& exchange, unsigned int* buffer)
{
    for (unsigned int i = 0; i < exchange.group; ++i)
        end.receive(buffer, exchange.length);
    end.send(1, buffer, exchange.replyLength);
}

void askOnce(bench::End& end, Exchange const& exchange, unsigned int* buffer)
{
    for (unsigned int i = 0; i < exchange.group; ++i)
        end.send(1, buffer, exchange.length);
    end.receive(buffer, exchange.length);
}

} // namespace

int main(int argc, char** argv)
{
    std::FILE* const answers = fdopen(dup(STDOUT_FILENO), "w");
    // What the library prints is no answer.
    if (answers == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    auto const port = static_cast<unsigned int>(argc > 1 ? std::atoi(argv[1]) : 0);
    auto* const once = port == 0 ? serveOnce : askOnce;
    auto const end = bench::BENCH_ROAD(port);
    std::fprintf(answers, "%u\n", port == 0 ? end->port() : port);
    std::fflush(answers);

    std::vector<unsigned int> buffer;
    Exchange order{};
    while (std::cin >> order.group >> order.length >> order.replyLength >> order.repeats) {
        buffer.resize(std::max<std::size_t>(buffer.size(), order.length / sizeof buffer[0]));
        once(*end, order, buffer.data()); // not measured
        double const start = secondsOn(CLOCK_MONOTONIC);
        double const processorStart = secondsOn(CLOCK_PROCESS_CPUTIME_ID);
        for (unsigned int i = 0; i < order.repeats; ++i)
            once(*end, order, buffer.data());
        std::fprintf(answers, "%.9f %.9f\n", secondsOn(CLOCK_MONOTONIC) - start,
                     secondsOn(CLOCK_PROCESS_CPUTIME_ID) - processorStart);
        std::fflush(answers);
    }
    return 0;
}
