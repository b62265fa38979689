#include "platform/simulated/faults.h"

#include "util/mutex.h"

#include <cstring>

namespace KORVA::DTC::PLATFORM::FAULTS {
namespace {

struct State
{
    unsigned int transfers = 0;
    unsigned int faultyTransfer = 0; // 0: none
    Transfer fault = Transfer::Fails;
    bool andAllAfter = false;
    char const* hiddenNode = nullptr;
    bool refuseBinding = false;
    bool refuseMapping = false;
    bool refuseShell = false;
    unsigned int commandsUntilRefusal = 0; // 0: none is refused
};

// Constant-initialised and trivially destroyed: usable as long as the library is in the process.
Mutex mutex;
State current KORVA_GUARDED_BY(mutex);

template <typename Access>
auto locked(Access access)
{
    MutexGuard const guard(mutex);
    return access(current);
}

} // namespace

void onTransfer(unsigned int n, Transfer fault, bool andAllAfter)
{
    locked([=](State& state) {
        state.transfers = 0;
        state.faultyTransfer = n;
        state.fault = fault;
        state.andAllAfter = andAllAfter;
    });
}

unsigned int transfers()
{
    return locked([](State& state) { return state.transfers; });
}

void hideNode(char const* boxPath)
{
    locked([=](State& state) { state.hiddenNode = boxPath; });
}

void refuseBinding()
{
    locked([](State& state) { state.refuseBinding = true; });
}

void refuseMapping()
{
    locked([](State& state) { state.refuseMapping = true; });
}

void refuseShell()
{
    locked([](State& state) { state.refuseShell = true; });
}

void refuseCommand(unsigned int n)
{
    locked([=](State& state) { state.commandsUntilRefusal = n; });
}

void clear()
{
    locked([](State& state) { state = State(); });
}

std::optional<Transfer> nextTransfer()
{
    return locked([](State& state) -> std::optional<Transfer> {
        unsigned int const n = ++state.transfers;
        bool const faulty =
            state.faultyTransfer != 0 &&
            (n == state.faultyTransfer || (state.andAllAfter && n > state.faultyTransfer));
        return faulty ? std::optional<Transfer>(state.fault) : std::nullopt;
    });
}

bool isHidden(char const* boxPath)
{
    return locked([=](State& state) {
        return state.hiddenNode != nullptr && std::strcmp(state.hiddenNode, boxPath) == 0;
    });
}

bool isBindingRefused()
{
    return locked([](State& state) { return state.refuseBinding; });
}

bool isMappingRefused()
{
    return locked([](State& state) { return state.refuseMapping; });
}

bool isNextCommandRefused()
{
    return locked([](State& state) {
        bool const counts = state.commandsUntilRefusal > 0;
        return (counts && --state.commandsUntilRefusal == 0) || state.refuseShell;
    });
}

} // namespace KORVA::DTC::PLATFORM::FAULTS
