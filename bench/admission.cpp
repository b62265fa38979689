// What it takes a server to admit a client, on a simulated box in a temporary directory: the time
// from connecting to the first reply, beside what the admission consists of.
#include "adapter/dtc_io.h"
#include "bench/temporary_box.h"
#include "conf/dtc_conf_gpp_bus.h"
#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_vars.h"
#include "periph/dtc_periph_led.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <string>

using namespace KORVA::DTC;

namespace {

__attribute__((init_priority(101))) bench::TemporaryBox const temporaryBox;

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

void readConfiguration(benchmark::State& state)
{
    CONF::Vars vars("");
    for (auto _ : state)
        vars.read();
}

void blinkOnce(benchmark::State& state)
{
    PERIPH::getI2CLed2().init();
    for (auto _ : state)
        flashLED(PERIPH::getI2CLed2(), 1);
}

void blinkTwice(benchmark::State& state)
{
    PERIPH::getI2CLed2().init();
    for (auto _ : state)
        flashLED(PERIPH::getI2CLed2(), 2);
}

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

BENCHMARK(connectToFirstReply)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK(readConfiguration)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK(askClockAndAddresses)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK(blinkOnce)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK(blinkTwice)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

} // namespace

BENCHMARK_MAIN();
