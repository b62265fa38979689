// What driving an adapter library through a proxy costs: the same round trips over the same
// connections of skylark_io.so, by turns through the proxy and straight through the library's C
// functions, at both ends.
#include "adapter/dtc_io.h"
#include "bench/run.h"
#include "bench/statistics.h"
#include "loader/io_adapter_proxy_connection.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

using KORVA::DTC::IOAdapterLibraryInterface;
using KORVA::DTC::IOAdapterProxy_Connection;

namespace {

constexpr unsigned int largest = 1U << 20;

/// The way that the next message takes, told by the tag of the one before it.
enum Way : unsigned int { Straight, Proxied, Last };

void require(DTC_IO_STATUS status)
{
    if (status == DTC_IO_SUCCESS)
        return;
    std::fprintf(stderr, "status %d\n", status);
    std::exit(1);
}

/// skylark_io.so loaded as an adapter library: its functions in a proxy's table.
class Library
{
public:
    Library()
    {
        bind(table.create, "DTC_IO_Create");
        bind(table.open, "DTC_IO_Open");
        bind(table.close, "DTC_IO_Close");
        bind(table.send_v2, "DTC_IO_Send_V2");
        bind(table.receive, "DTC_IO_Receive");
        bind(table.local_id, "DTC_IO_Local_Id");
        bind(table.get_error, "DTC_Get_Error");
    }

    IOAdapterLibraryInterface table;

private:
    template <typename Function>
    void bind(Function& function, char const* symbol)
    {
        function = reinterpret_cast<Function>(dlsym(m_handle, symbol));
        if (function == nullptr)
            std::abort();
    }

    void* m_handle = dlopen(SKYLARK_LIBRARY, RTLD_LAZY);
};

Library& library()
{
    static Library instance;
    return instance;
}

/// One end of a connection, to be used either way.
class End
{
public:
    explicit End(void* handle) : m_handle(handle), m_proxied(handle, library().table) {}

    void send(Way way, unsigned int tag, unsigned int* buffer, unsigned int length)
    {
        unsigned int sent = 0;
        require(way == Proxied
                    ? m_connection->send(m_peer, tag, buffer, length, &sent)
                    : library().table.send_v2(m_handle, m_peer, tag, buffer, length, &sent));
    }

    Way receive(Way way, unsigned int* buffer)
    {
        unsigned int tag = 0;
        unsigned int length = 0;
        require(way == Proxied
                    ? m_connection->receive(&m_peer, &tag, buffer, largest, &length, 10'000)
                    : library().table.receive(m_handle, &m_peer, &tag, buffer, largest, &length,
                                              10'000));
        return static_cast<Way>(tag);
    }

    unsigned int localId(Way way)
    {
        unsigned int id = 0;
        require(way == Proxied ? m_connection->get_local_id(&id)
                               : library().table.local_id(m_handle, &id));
        return id;
    }

private:
    void* m_handle;
    IOAdapterProxy_Connection m_proxied; // closes the handle
    // As a program has it: through the table of virtual functions.
    KORVA::DTC::IOAdapter_Connection* m_connection = &m_proxied;
    unsigned int m_peer = 0;
};

std::unique_ptr<End> serverEnd()
{
    void* handle = nullptr;
    require(library().table.create("dtc_conf", 0, &handle));
    return std::make_unique<End>(handle);
}

std::unique_ptr<End> clientEnd()
{
    void* handle = nullptr;
    require(library().table.open("0x7F000001", "dtc_conf", &handle));
    return std::make_unique<End>(handle);
}

/// A client, and an echoing server in a thread of its own.
class Course
{
public:
    explicit Course(unsigned int length) : m_length(length), m_thread([this] { serve(); }) {}
    ~Course()
    {
        exchange(Last);
        m_thread.join();
        m_server.reset(); // first: its reset leaves no port lingering
    }
    Course(Course const&) = delete;
    Course& operator=(Course const&) = delete;

    /// The seconds that so many round trips take, one way.
    double run(Way way, unsigned int repeats)
    {
        exchange(way); // tells the server
        auto const start = std::chrono::steady_clock::now();
        for (unsigned int i = 0; i < repeats; ++i)
            exchange(way);
        std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - start;
        return taken.count() / repeats;
    }

    End& client() { return *m_client; }

private:
    void exchange(Way way)
    {
        m_client->send(way, way, m_buffer.data(), m_length);
        m_client->receive(way, m_buffer.data());
    }

    void serve()
    {
        std::vector<unsigned int> buffer(largest / sizeof(unsigned int));
        for (Way way = Straight, next = Straight; way != Last; way = next) {
            next = m_server->receive(way, buffer.data());
            m_server->send(way, 0, buffer.data(), m_length);
        }
    }

    unsigned int m_length;
    std::vector<unsigned int> m_buffer = std::vector<unsigned int>(largest / sizeof(unsigned int));
    std::unique_ptr<End> m_server = serverEnd();
    std::unique_ptr<End> m_client = clientEnd();
    std::thread m_thread;
};

void roundTrip(benchmark::State& state)
{
    auto const length = static_cast<unsigned int>(state.range(0));
    unsigned int const repeats = std::clamp((2U << 20) / length, 4U, 64U);
    Course course(length);
    std::vector<double> times[2];
    std::vector<double> costs;
    course.run(Straight, repeats);
    for (auto _ : state) {
        Way const first = costs.size() % 2 == 0 ? Straight : Proxied;
        for (Way const way : {first, first == Straight ? Proxied : Straight})
            times[way].push_back(course.run(way, repeats));
        costs.push_back(times[Proxied].back() / times[Straight].back() - 1);
        state.SetIterationTime((times[Straight].back() + times[Proxied].back()) * repeats);
    }
    state.counters["proxied us"] = bench::median(times[Proxied]) * 1e6 / 2;
    state.counters["straight us"] = bench::median(times[Straight]) * 1e6 / 2;
    state.counters["cost %"] = bench::median(costs) * 100;
}

/// The cheapest call of all, where the proxy's own cost shows.
void localId(benchmark::State& state)
{
    Course course(1);
    auto const way = static_cast<Way>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(course.client().localId(way));
}

} // namespace

int main(int argc, char** argv)
{
    std::printf("medians a message, each sent and received; \"cost\": of the proxy\n");
    for (std::int64_t const size : {16, 256, 4096, 65536, 1048576})
        benchmark::RegisterBenchmark("round_trip", roundTrip)
            ->Arg(size)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("local_id", localId)->ArgName("proxied")->Arg(0)->Arg(1);
    return bench::run(argc, argv);
}
