// What loading the library and using its drivers costs, on a simulated box in a temporary
// directory.
#include "bench/statistics.h"
#include "bench/temporary_box.h"
#include "periph/dtc_periph_eeprom.h"
#include "periph/dtc_periph_fpga.h"
#include "periph/dtc_periph_led.h"

#include <benchmark/benchmark.h>
#include <ctime>
#include <dlfcn.h>
#include <string>
#include <vector>

using namespace KORVA::DTC::PERIPH;

namespace {

__attribute__((init_priority(101))) bench::TemporaryBox const temporaryBox;

/// The library file, though the drivers below are linked in: nothing of it is in the process yet.
void loadAndUnload(benchmark::State& state)
{
    for (auto _ : state) {
        void* const library = dlopen(SKYLARK_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr || dlclose(library) != 0)
            state.SkipWithError(dlerror());
    }
    if (dlopen(SKYLARK_LIBRARY, RTLD_NOW | RTLD_NOLOAD) != nullptr)
        state.SkipWithError("still loaded");
}

void readFpgaRegister(benchmark::State& state)
{
    FPGA& fpga = getFPGA();
    for (auto _ : state)
        benchmark::DoNotOptimize(fpga.read(0x06000000));
}

void toggleLed(benchmark::State& state)
{
    getI2CLed0().init();
    for (auto _ : state)
        getI2CLed0().toggle();
}

void writeEeprom(benchmark::State& state)
{
    constexpr double writeCycles = EEPROM_NUM_PAGES * 0.005; // what the part itself needs, seconds
    std::vector<unsigned char> data(EEPROM_SIZE);
    std::vector<unsigned char> stored(EEPROM_SIZE);
    getEEPROM().init();
    double const start = bench::secondsOn(CLOCK_MONOTONIC);
    double const processorStart = bench::secondsOn(CLOCK_PROCESS_CPUTIME_ID);
    for (auto _ : state) {
        data.assign(EEPROM_SIZE, static_cast<unsigned char>(data[0] + 1));
        getEEPROM().write(0, data.data(), EEPROM_SIZE, true);
    }
    double const elapsed = bench::secondsOn(CLOCK_MONOTONIC) - start;
    double const processor = bench::secondsOn(CLOCK_PROCESS_CPUTIME_ID) - processorStart;
    constexpr unsigned int piece = 4096; // a node moves no more than 8192 bytes in one transfer
    for (unsigned int done = 0; done < EEPROM_SIZE; done += piece)
        getEEPROM().read(done, stored.data() + done, piece);
    if (stored != data)
        state.SkipWithError("not what was written");
    state.counters["of the part's time"] =
        elapsed / (writeCycles * static_cast<double>(state.iterations()));
    state.counters["of a core"] = processor / elapsed;
}

BENCHMARK(loadAndUnload)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(readFpgaRegister);
BENCHMARK(toggleLed)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(writeEeprom)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace

BENCHMARK_MAIN();
