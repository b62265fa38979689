// The same messages over several roads, by turns in one run: bench_compare [--rounds N] [--turns N]
// PROGRAM... Each program is a contender_NAME; the first is what the others are compared with.
// Prints medians as comma-separated values. In each round every road gets new processes and
// connections.
#include "bench/compare/contender_process.h"
#include "bench/statistics.h"
#include "bench/temporary_box.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using bench::Cost;
using bench::Exchange;

struct Contender
{
    explicit Contender(std::string const& program)
        : server(program, "server", 0), client(program, "client", server.port())
    {}

    bench::ContenderProcess server;
    bench::ContenderProcess client;
};

struct Measured
{
    std::vector<double> values;
    std::vector<double> ofFirst;
};

/// What is exchanged, and by contender what that cost in all turns so far.
struct Course
{
    char const* name;
    Exchange exchange;
    std::vector<Measured> time;      // microseconds
    std::vector<Measured> processor; // microseconds, both ends
};

Course course(char const* name, Exchange const& exchange, std::size_t contenders)
{
    return {name, exchange, std::vector<Measured>(contenders), std::vector<Measured>(contenders)};
}

std::vector<Course> courses(std::size_t contenders)
{
    std::vector<Course> all;
    for (unsigned int const size : {16U, 256U, 4096U, 65536U, 1048576U}) {
        unsigned int const trips = std::clamp((2U << 20) / size, 4U, 64U);
        unsigned int const group = std::clamp((8U << 20) / size, 8U, 1024U);
        all.push_back(course("round trip", {1, size, size, trips}, contenders));
        all.push_back(course("stream", {group, size, 1, 1}, contenders));
    }
    return all;
}

/// One turn of one road. The costs are those of a round trip, or of a message of the stream.
Cost turn(Contender& contender, Exchange const& exchange)
{
    contender.server.order(exchange);
    contender.client.order(exchange);
    Cost const client = contender.client.cost();
    Cost const server = contender.server.cost();
    double const count = static_cast<double>(exchange.group) * exchange.repeats;
    return {client.seconds / count, (client.processorSeconds + server.processorSeconds) / count};
}

void note(std::vector<Measured>& measured, std::vector<double> const& values, double scale)
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        measured[i].values.push_back(values[i] * scale);
        measured[i].ofFirst.push_back(values[i] / values[0]);
    }
}

/// Every road once, in the order given.
void takeTurns(Course& course, std::vector<std::unique_ptr<Contender>>& contenders,
               std::vector<std::size_t> const& order, bool noted)
{
    std::vector<double> time(contenders.size());
    std::vector<double> processor(contenders.size());
    for (std::size_t const who : order) {
        Cost const cost = turn(*contenders[who], course.exchange);
        time[who] = cost.seconds;
        processor[who] = cost.processorSeconds;
    }
    if (!noted)
        return;
    note(course.time, time, 1e6);
    note(course.processor, processor, 1e6);
}

void print(char const* what, char const* quantity, unsigned int size,
           std::vector<std::string> const& programs, std::vector<Measured> const& measured,
           char const* unit)
{
    for (std::size_t i = 0; i < programs.size(); ++i) {
        std::string const name = programs[i].substr(programs[i].rfind("contender_") + 10);
        std::printf("%s,%s,%u,%s,%.3f,%.3f,%s\n", what, quantity, size, name.c_str(),
                    bench::median(measured[i].values), bench::median(measured[i].ofFirst), unit);
    }
}

class Comparison
{
public:
    explicit Comparison(std::vector<std::string> programs)
        : m_programs(std::move(programs)), m_courses(courses(m_programs.size())),
          m_memory(m_courses.size(), std::vector<Measured>(m_programs.size()))
    {}

    void round(unsigned int turns)
    {
        std::vector<std::unique_ptr<Contender>> contenders;
        for (std::string const& program : m_programs)
            contenders.push_back(std::make_unique<Contender>(program));
        std::vector<std::size_t> order(contenders.size());
        std::iota(order.begin(), order.end(), 0U);
        for (std::size_t c = 0; c < m_courses.size(); ++c) {
            for (unsigned int t = 0; t <= turns; ++t) {
                // A road can leave the machine busy: none comes always after the same other one.
                std::shuffle(order.begin(), order.end(), m_random);
                takeTurns(m_courses[c], contenders, order, t > 0);
            }
            std::vector<double> kib;
            for (auto const& contender : contenders)
                kib.push_back(contender->server.peakKib() + contender->client.peakKib());
            note(m_memory[c], kib, 1);
        }
    }

    void report() const
    {
        for (std::size_t c = 0; c < m_courses.size(); ++c) {
            Course const& course = m_courses[c];
            unsigned int const size = course.exchange.length;
            print(course.name, "time", size, m_programs, course.time, "us");
            print(course.name, "processor time", size, m_programs, course.processor, "us");
            print(course.name, "peak memory so far", size, m_programs, m_memory[c], "KiB");
        }
    }

private:
    std::vector<std::string> m_programs;
    std::vector<Course> m_courses;
    std::mt19937 m_random;
    std::vector<std::vector<Measured>> m_memory; // by course and contender
};

} // namespace

int main(int argc, char** argv)
{
    static bench::TemporaryBox const temporaryBox; // for the library's processes
    unsigned int rounds = 9;
    unsigned int turns = 20;
    std::vector<std::string> programs;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc)
            rounds = static_cast<unsigned int>(std::atoi(argv[++i]));
        else if (std::strcmp(argv[i], "--turns") == 0 && i + 1 < argc)
            turns = static_cast<unsigned int>(std::atoi(argv[++i]));
        else
            programs.emplace_back(argv[i]);
    }
    if (programs.empty() || rounds == 0 || turns == 0) {
        std::fprintf(stderr, "usage: %s [--rounds N] [--turns N] PROGRAM...\n", argv[0]);
        return 2;
    }
    Comparison comparison(programs);
    for (unsigned int r = 0; r < rounds; ++r)
        comparison.round(turns);
    std::printf("exchange,quantity,size,contender,median,of_first,unit\n");
    comparison.report();
    return 0;
}
