#pragma once

#include <benchmark/benchmark.h>
#include <vector>

namespace bench {

/// Runs what is registered, nine times by turns, each with new connections, because how the system
/// tunes their buffers is a matter of luck; unless the command line says otherwise.
inline int run(int argc, char** argv)
{
    static char defaults[][48] = {"--benchmark_min_time=0.5", "--benchmark_repetitions=9",
                                  "--benchmark_report_aggregates_only=true"};
    std::vector<char*> arguments = {argv[0], defaults[0], defaults[1], defaults[2]};
    arguments.insert(arguments.end(), argv + 1, argv + argc + 1);
    int count = argc + 3;
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace bench
