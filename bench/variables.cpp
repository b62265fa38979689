// What reading and writing the whole set of variables costs on a simulated box, beside the waits
// that are fixed: the LED's pauses, the pin multiplexer's settling, the EEPROM's write cycles.
#include "bench/temporary_box.h"
#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"
#include "platform/simulated/faults.h"

#include <benchmark/benchmark.h>
#include <chrono>

using namespace KORVA::DTC;

namespace {

__attribute__((init_priority(101))) bench::TemporaryBox const temporaryBox;

constexpr double blinkPauseMs = 100;
constexpr double settlingMs = 20; // each time the EEPROM is initialised
constexpr double pageCycleMs = 5;
constexpr double pages = 5; // of the default set

double elapsedMs(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// Runs the operation, and reports the time beyond the fixed waits and the transfers.
template <typename Operation>
void measure(benchmark::State& state, double fixedMs, Operation operation)
{
    PERIPH::getI2CLed2().init();
    CONF::Vars("").write();
    PLATFORM::FAULTS::clear(); // counts the transfers anew
    auto const start = std::chrono::steady_clock::now();
    for (auto _ : state)
        operation();
    auto const rounds = static_cast<double>(state.iterations());
    state.counters["fixed_ms"] = fixedMs;
    state.counters["rest_ms"] = elapsedMs(start) / rounds - fixedMs;
    state.counters["transfers"] = PLATFORM::FAULTS::transfers() / rounds;
}

void readVars(benchmark::State& state)
{
    measure(state, settlingMs + blinkPauseMs, [] { CONF::Vars("").read(); });
}

void writeVars(benchmark::State& state)
{
    measure(state, 2 * settlingMs + pages * pageCycleMs + 3 * blinkPauseMs,
            [] { CONF::Vars("").write(); });
}

/// The two commands of a read, alone.
void runCommands(benchmark::State& state)
{
    std::string mac;
    std::string ip;
    std::vector<std::pair<std::string, std::string>> time{{"time", ""}};
    for (auto _ : state) {
        readVarsFromSys(time);
        getMacAndIpAddr(mac, ip);
    }
}

BENCHMARK(readVars)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(writeVars)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(runCommands)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
