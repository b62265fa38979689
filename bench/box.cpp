// What loading the library, its drivers, the variables and admitting a client cost, on a simulated
// box of its own, beside the waits that are fixed: the LED's pauses, the pin multiplexer's
// settling, the EEPROM's write cycles. The drivers are linked in, so that the library file itself
// can be loaded and unloaded.
#include "platform/simulated/faults.h"

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <memory>
#include <skylark_io/adapter/dtc_io.h>
#include <skylark_io/conf/dtc_conf_gpp_system.h>
#include <skylark_io/conf/dtc_conf_vars.h>
#include <skylark_io/periph/dtc_periph_eeprom.h>
#include <skylark_io/periph/dtc_periph_fpga.h>
#include <skylark_io/periph/dtc_periph_led.h>
#include <string>
#include <vector>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;

namespace {

constexpr double blinkPauseMs = 100;
constexpr double settlingMs = 20; // each time the EEPROM is initialised
constexpr double pageCycleMs = 5;
constexpr double defaultPages = 5; // of the default set

using Handle = std::unique_ptr<void, decltype(&DTC_IO_Close)>;

bool exchange(void* server, void* client)
{
    unsigned int word = 0;
    unsigned int id = 0;
    unsigned int tag = 0;
    unsigned int length = 0;
    return DTC_IO_Send_V2(client, 0, 1, &word, sizeof word, &length) == DTC_IO_SUCCESS &&
           DTC_IO_Receive(server, &id, &tag, &word, sizeof word, &length, 10'000) ==
               DTC_IO_SUCCESS &&
           DTC_IO_Send_V2(server, id, tag, &word, sizeof word, &length) == DTC_IO_SUCCESS &&
           DTC_IO_Receive(client, &id, &tag, &word, sizeof word, &length, 10'000) == DTC_IO_SUCCESS;
}

/// On a new box: an EEPROM that holds no text is read to its end. Both ends are in one thread.
void connectToFirstReply(benchmark::State& state)
{
    void* made = nullptr;
    if (DTC_IO_Create("dtc_conf", 0, &made) != DTC_IO_SUCCESS)
        return state.SkipWithError(DTC_Get_Error());
    Handle const server(made, DTC_IO_Close);
    for (auto _ : state) {
        if (DTC_IO_Open("0x7F000001", "dtc_conf", &made) != DTC_IO_SUCCESS)
            return state.SkipWithError(DTC_Get_Error());
        Handle const client(made, DTC_IO_Close);
        if (!exchange(server.get(), client.get()))
            return state.SkipWithError(DTC_Get_Error());
    }
}

/// The library file, though the drivers are linked in: nothing of it is in the process yet.
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

/// Runs the operation, reports its time as a multiple of what is fixed, and the transfers.
template <typename Operation>
void measure(benchmark::State& state, double fixedMs, Operation operation)
{
    PLATFORM::FAULTS::clear(); // counts the transfers anew
    for (auto _ : state)
        operation();
    auto const rounds = static_cast<double>(state.iterations());
    // Of the rate of so many fixed waits the inverse is the time as a multiple of one.
    state.counters["ratio"] = {rounds * fixedMs * 1e-3,
                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert};
    state.counters["transfers"] = PLATFORM::FAULTS::transfers() / rounds;
    state.SetLabel("the fixed waits");
}

void readVars(benchmark::State& state)
{
    getI2CLed2().init();
    CONF::Vars("").write();
    measure(state, settlingMs + blinkPauseMs, [] { CONF::Vars("").read(); });
}

void writeVars(benchmark::State& state)
{
    getI2CLed2().init();
    CONF::Vars("").write();
    measure(state, 2 * settlingMs + defaultPages * pageCycleMs + 3 * blinkPauseMs,
            [] { CONF::Vars("").write(); });
}

/// The two shell commands of a reading, alone.
void askClockAndAddresses(benchmark::State& state)
{
    std::vector<std::pair<std::string, std::string>> clock = {{"time", ""}};
    std::string mac;
    std::string ip;
    for (auto _ : state) {
        readVarsFromSys(clock);
        getMacAndIpAddr(mac, ip);
    }
}

void writeEeprom(benchmark::State& state)
{
    std::vector<unsigned char> data(EEPROM_SIZE);
    std::vector<unsigned char> stored(EEPROM_SIZE);
    getEEPROM().init();
    measure(state, EEPROM_NUM_PAGES * pageCycleMs, [&data] {
        data.assign(EEPROM_SIZE, static_cast<unsigned char>(data[0] + 1));
        getEEPROM().write(0, data.data(), EEPROM_SIZE, true);
    });
    constexpr unsigned int piece = 4096; // a node moves no more than 8192 bytes in one transfer
    for (unsigned int done = 0; done < EEPROM_SIZE; done += piece)
        getEEPROM().read(done, stored.data() + done, piece);
    if (stored != data)
        state.SkipWithError("not what was written");
}

BENCHMARK(connectToFirstReply)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK(loadAndUnload)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(readFpgaRegister);
BENCHMARK(toggleLed)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(readVars)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(writeVars)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(askClockAndAddresses)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(writeEeprom)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace
