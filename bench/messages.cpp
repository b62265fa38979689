// Round trips and one-way streams over two roads, side by side in one run: the speed of the one as
// a share of the other's, of the library against plain sockets and of the proxy against the
// library.
#include "bench/allocations.h"
#include "bench/road.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

using bench::Road;

constexpr unsigned int largest = 1U << 20;
constexpr unsigned int lastTag = 0xFFFFFFFF;

std::vector<unsigned int> largestBuffer()
{
    return std::vector<unsigned int>(largest / sizeof(unsigned int));
}

double median(std::vector<double> values)
{
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// What is exchanged: a group of messages to the server and then one reply, so often in one turn.
struct Exchange
{
    unsigned int group;
    unsigned int length;
    unsigned int replyLength;
    unsigned int repeats;
};

/// One road with its server's end in a thread of its own, and the times that exchanges over it
/// took.
class Course
{
public:
    Course(Road& road, Exchange const& exchange)
        : m_exchange(exchange), m_server(road(0)), m_client(road(m_server->port())),
          m_thread([this] { serve(); })
    {
        turn(); // the client is admitted
        m_times.clear();
    }
    ~Course()
    {
        m_client->send(lastTag, m_buffer.data(), 1);
        m_thread.join();
        m_server.reset(); // first: its reset leaves no port lingering
    }
    Course(Course const&) = delete;
    Course& operator=(Course const&) = delete;

    /// The seconds that it took.
    double turn()
    {
        auto const start = std::chrono::steady_clock::now();
        for (unsigned int r = 0; r < m_exchange.repeats; ++r) {
            for (unsigned int i = 0; i < m_exchange.group; ++i)
                m_client->send(i, m_buffer.data(), m_exchange.length);
            m_client->receive(m_buffer.data(), largest);
        }
        std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - start;
        m_times.push_back(taken.count());
        return taken.count();
    }

    /// Of a round trip, or of a message of a stream.
    double medianUs() const
    {
        return median(m_times) * 1e6 / (m_exchange.repeats * m_exchange.group);
    }

private:
    void serve()
    {
        std::vector<unsigned int> buffer = largestBuffer();
        for (unsigned int count = 1; m_server->receive(buffer.data(), largest) != lastTag; ++count)
            if (count % m_exchange.group == 0)
                m_server->send(0, buffer.data(), m_exchange.replyLength);
    }

    Exchange m_exchange;
    std::vector<double> m_times;
    std::vector<unsigned int> m_buffer = largestBuffer();
    std::unique_ptr<bench::End> m_server;
    std::unique_ptr<bench::End> m_client;
    std::thread m_thread;
};

/// Runs both roads by turns, a few milliseconds each, so that whatever else the machine does meets
/// both.
void compare(benchmark::State& state, Road& road, Road& other, Exchange const& exchange)
{
    Course course(road, exchange);
    Course otherCourse(other, exchange);
    std::vector<double> shares;
    unsigned long allocated = 0;
    for (auto _ : state) {
        bool const otherFirst = shares.size() % 2 != 0;
        double const before = otherFirst ? otherCourse.turn() : 0;
        unsigned long const requests = bench::allocations();
        double const cost = course.turn();
        allocated += bench::allocations() - requests;
        double const otherCost = otherFirst ? before : otherCourse.turn();
        shares.push_back(otherCost / cost);
        state.SetIterationTime(cost + otherCost);
    }
    state.counters["us"] = course.medianUs();
    state.counters["ratio"] = median(shares);
    state.counters["allocations"] = static_cast<double>(allocated);
    state.SetLabel(&other == &bench::plainRoad ? "plain sockets' speed" : "the library's speed");
}

void roundTrip(benchmark::State& state, Road& road, Road& other)
{
    auto const length = static_cast<unsigned int>(state.range(0));
    compare(state, road, other, {1, length, length, std::clamp((2U << 20) / length, 4U, 64U)});
}

void stream(benchmark::State& state, Road& road, Road& other)
{
    auto const length = static_cast<unsigned int>(state.range(0));
    compare(state, road, other, {std::clamp((8U << 20) / length, 8U, 1024U), length, 1, 1});
}

/// The cheapest call of all, where the proxy's own cost shows.
void localId(benchmark::State& state, Road& road)
{
    auto const server = road(0);
    for (auto _ : state)
        benchmark::DoNotOptimize(server->port());
}

void sizes(benchmark::internal::Benchmark* measured)
{
    for (std::int64_t const size : {16, 4096, 65536, 1048576})
        measured->Arg(size);
    measured->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(roundTrip, library, bench::libraryRoad, bench::plainRoad)->Apply(sizes);
BENCHMARK_CAPTURE(stream, library, bench::libraryRoad, bench::plainRoad)->Apply(sizes);
BENCHMARK_CAPTURE(roundTrip, proxy, bench::proxyRoad, bench::libraryRoad)->Apply(sizes);
BENCHMARK_CAPTURE(localId, library, bench::libraryRoad);
BENCHMARK_CAPTURE(localId, proxy, bench::proxyRoad);

} // namespace
