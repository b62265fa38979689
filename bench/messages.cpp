// Round trips and one-way streams, through the library and over plain sockets, side by side in one
// run, and at the end the library's speed as a share of the plain sockets'.
#include "bench/allocations.h"
#include "bench/message_road.h"
#include "bench/run.h"
#include "bench/statistics.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

constexpr unsigned int largest = 1U << 20;
constexpr unsigned int lastTag = 0xFFFFFFFF;

/// Runs the server's end in a thread of its own: replies to every group-th message, with a message
/// of replyLength bytes, until one with lastTag has come.
template <typename Road>
class Server
{
public:
    Server(unsigned int group, unsigned int replyLength)
        : m_thread([this, group, replyLength] {
              std::vector<unsigned int> buffer(largest / sizeof(unsigned int));
              for (unsigned int count = 1; m_end.receive(buffer.data(), largest) != lastTag;
                   ++count) {
                  if (count % group == 0)
                      m_end.send(0, buffer.data(), replyLength);
              }
          })
    {}
    ~Server() { m_thread.join(); }
    Server(Server const&) = delete;
    Server& operator=(Server const&) = delete;

    unsigned int port() const { return m_end.port(); }

private:
    typename Road::Server m_end;
    std::thread m_thread;
};

/// One road with its server's thread, and the times that exchanges over it took.
template <typename Road>
class Course
{
public:
    Course(unsigned int group, unsigned int length, unsigned int replyLength)
        : m_group(group), m_length(length), m_server(group, replyLength)
    {}
    ~Course() { m_client.send(lastTag, m_buffer.data(), 1); }
    Course(Course const&) = delete;
    Course& operator=(Course const&) = delete;

    /// Sends a group of messages and waits for the reply to the last, repeats times.
    double run(unsigned int repeats)
    {
        auto const start = std::chrono::steady_clock::now();
        for (unsigned int r = 0; r < repeats; ++r) {
            for (unsigned int i = 0; i < m_group; ++i)
                m_client.send(i, m_buffer.data(), m_length);
            m_client.receive(m_buffer.data(), largest);
        }
        double const seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        times.push_back(seconds / (repeats * m_group));
        return seconds;
    }

    std::vector<double> times; // seconds a message

private:
    unsigned int m_group;
    unsigned int m_length;
    std::vector<unsigned int> m_buffer = std::vector<unsigned int>(largest / sizeof(unsigned int));
    Server<Road> m_server;
    typename Road::Client m_client{m_server.port()};
};

/// Runs both roads by turns, a few milliseconds each, so that whatever else the machine does meets
/// both.
void compare(benchmark::State& state, unsigned int group, unsigned int length,
             unsigned int replyLength, unsigned int repeats)
{
    Course<bench::LibraryRoad> library(group, length, replyLength);
    Course<bench::PlainRoad> plain(group, length, replyLength);
    std::vector<double> shares;
    unsigned long allocated = 0;
    double libraryCost = 0;
    library.run(repeats); // the client is admitted
    plain.run(repeats);
    library.times.clear();
    plain.times.clear();
    for (auto _ : state) {
        bool const libraryFirst = shares.size() % 2 == 0;
        double const before = libraryFirst ? 0 : plain.run(repeats);
        unsigned long const requests = bench::allocations();
        libraryCost = library.run(repeats);
        allocated += bench::allocations() - requests;
        double const plainCost = libraryFirst ? plain.run(repeats) : before;
        shares.push_back(plainCost / libraryCost);
        state.SetIterationTime(libraryCost + plainCost);
    }
    state.counters["library us"] = bench::median(library.times) * 1e6;
    state.counters["plain us"] = bench::median(plain.times) * 1e6;
    state.counters["speed share"] = bench::median(shares);
    state.counters["allocations"] = static_cast<double>(allocated);
}

void roundTrip(benchmark::State& state)
{
    auto const length = static_cast<unsigned int>(state.range(0));
    compare(state, 1, length, length, std::clamp((2U << 20) / length, 4U, 64U));
}

void stream(benchmark::State& state)
{
    auto const length = static_cast<unsigned int>(state.range(0));
    compare(state, std::clamp((8U << 20) / length, 8U, 1024U), length, 1, 1);
}

void sizes(benchmark::internal::Benchmark* measured)
{
    for (std::int64_t const size : {16, 256, 4096, 65536, 1048576})
        measured->Arg(size);
    measured->UseManualTime()->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char** argv)
{
    std::printf(
        "medians a message; \"speed share\": the library's speed as a share of plain sockets'\n");
    benchmark::RegisterBenchmark("round_trip", roundTrip)->Apply(sizes);
    benchmark::RegisterBenchmark("stream", stream)->Apply(sizes);
    return bench::run(argc, argv);
}
