#include "platform/simulated/faults.h"

#include "platform/simulated/fault_state.h"

#include <cstring>
#include <mutex>

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
std::mutex mutex;
State state;

template <typename Access>
auto locked(Access access)
{
    std::lock_guard<std::mutex> const guard(mutex);
    return access();
}

} // namespace

void onTransfer(unsigned int n, Transfer fault, bool andAllAfter)
{
    locked([=] {
        state.transfers = 0;
        state.faultyTransfer = n;
        state.fault = fault;
        state.andAllAfter = andAllAfter;
    });
}

unsigned int transfers()
{
    return locked([] { return state.transfers; });
}

void hideNode(char const* boxPath)
{
    locked([=] { state.hiddenNode = boxPath; });
}

void refuseBinding()
{
    locked([] { state.refuseBinding = true; });
}

void refuseMapping()
{
    locked([] { state.refuseMapping = true; });
}

void refuseShell()
{
    locked([] { state.refuseShell = true; });
}

void refuseCommand(unsigned int n)
{
    locked([=] { state.commandsUntilRefusal = n; });
}

void clear()
{
    locked([] { state = State(); });
}

std::optional<Transfer> nextTransfer()
{
    return locked([]() -> std::optional<Transfer> {
        unsigned int const n = ++state.transfers;
        bool const faulty =
            state.faultyTransfer != 0 &&
            (n == state.faultyTransfer || (state.andAllAfter && n > state.faultyTransfer));
        return faulty ? std::optional<Transfer>(state.fault) : std::nullopt;
    });
}

bool isHidden(char const* boxPath)
{
    return locked(
        [=] { return state.hiddenNode != nullptr && std::strcmp(state.hiddenNode, boxPath) == 0; });
}

bool isBindingRefused()
{
    return locked([] { return state.refuseBinding; });
}

bool isMappingRefused()
{
    return locked([] { return state.refuseMapping; });
}

bool isNextCommandRefused()
{
    return locked([] {
        bool const counts = state.commandsUntilRefusal > 0;
        return (counts && --state.commandsUntilRefusal == 0) || state.refuseShell;
    });
}

} // namespace KORVA::DTC::PLATFORM::FAULTS
