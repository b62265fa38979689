#include "tools/dtcctl/adapter_check/checks.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;

/// One wait: its status and how long it took.
struct Wait
{
    Entry entry;
    unsigned int timeoutMs;
    DTC_IO_STATUS status;
    long tookMs;
};

Wait waitOnce(End& end, Entry entry, unsigned int timeoutMs)
{
    Buffer buffer(64);
    auto const begin = Clock::now();
    DTC_IO_STATUS const status = entry == Entry::ReceiveReady
                                     ? end.ready(timeoutMs)
                                     : end.receive(buffer, buffer.size(), timeoutMs).status;
    auto const took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    return {entry, timeoutMs, status, static_cast<long>(took.count())};
}

/// Room for a scheduler that is busy elsewhere, and for a clock of coarse ticks.
bool isInTime(Wait const& wait, bool mayBeShort)
{
    long const limit = static_cast<long>(wait.timeoutMs);
    return wait.tookMs <= limit + 250 && (mayBeShort || wait.tookMs >= limit - limit / 10);
}

void checkTimeout(End& end, Entry entry, unsigned int timeoutMs, bool mayBeAlone)
{
    Wait wait{};
    bool isGood = false;
    for (int trial = 0; trial < 3 && !isGood; ++trial) { // a machine can be busy now and then
        wait = waitOnce(end, entry, timeoutMs);
        bool const isAlone = mayBeAlone && wait.status == DTC_IO_DISCONNECTED;
        expect(wait.status == DTC_IO_TIMEOUT || isAlone, gave(entry, wait.status) +
                                                             " with a time-out of " +
                                                             std::to_string(timeoutMs) + " ms");
        isGood = isInTime(wait, isAlone);
    }
    expect(isGood, std::string(nameOf(entry)) + " took " + std::to_string(wait.tookMs) +
                       " ms with a time-out of " + std::to_string(timeoutMs) + " ms");
}

} // namespace

std::vector<Check> adapterChecks()
{
    std::vector<Check> checks = checksAlone();
    for (auto const& more : {checksOfConnecting(), checksOfMessages(), checksOfClosing()})
        checks.insert(checks.end(), more.begin(), more.end());
    return checks;
}

Check exchanging(char const* rule, std::vector<Entry> const& entries, void (*server)(CheckSide&),
                 void (*client)(CheckSide&))
{
    return {rule, Stage::Exchanges, Stage::Exchanges, entries, server, client};
}

std::vector<Entry> entriesOf(Stage stage)
{
    switch (stage) {
    case Stage::Loaded:
        return {};
    case Stage::Serves:
        return {Entry::Create, Entry::Close, Entry::Receive};
    default:
        return {Entry::Create, Entry::Close, Entry::Receive, Entry::Open, Entry::SendV2};
    }
}

void echoServer(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    server.echo();
    server.close();
}

End openPeer(CheckSide& side)
{
    side.peer.await();
    return End::open(side);
}

void checkIdAndState(CheckSide& side, End& end)
{
    unsigned int ids[] = {0x5A5A5A5A, 0xA5A5A5A5};
    for (unsigned int& id : ids) {
        DTC_IO_STATUS const status = side.adapter.localId(end.handle(), &id);
        expect(status == DTC_IO_SUCCESS, gave(Entry::LocalId, status));
    }
    expect(ids[0] == ids[1], "DTC_IO_Local_Id gave 0 and stored nothing, or another id each time");
    std::uintptr_t states[] = {0x5A5A5A5A, 0xA5A5A5A5};
    for (std::uintptr_t& state : states) {
        auto* record =
            reinterpret_cast<DTC_IO_LOADERIF*>(state); // NOLINT(performance-no-int-to-ptr)
        DTC_IO_STATUS const status = side.adapter.getState(end.handle(), &record);
        expect(status == DTC_IO_SUCCESS, gave(Entry::GetState, status));
        state = reinterpret_cast<std::uintptr_t>(record);
    }
    expect(states[0] == states[1],
           "DTC_IO_Get_State gave 0 and stored nothing, or another record each time");
}

void checkTimeouts(End& end, bool mayBeAlone)
{
    for (Entry const entry : {Entry::ReceiveReady, Entry::Receive}) {
        for (unsigned int const timeoutMs : {0U, 200U})
            checkTimeout(end, entry, timeoutMs, mayBeAlone);
    }
}

bool isMapped(std::string const& path)
{
    std::unique_ptr<char, decltype(&std::free)> const real(realpath(path.c_str(), nullptr),
                                                           std::free);
    if (real == nullptr)
        return false;
    std::ifstream maps("/proc/self/maps");
    std::string const ending = std::string(" ") + real.get();
    for (std::string line; std::getline(maps, line);) {
        bool const isLonger = line.size() > ending.size();
        if (isLonger && line.compare(line.size() - ending.size(), ending.size(), ending) == 0)
            return true;
    }
    return false;
}

} // namespace dtcctl
