#pragma once

#include <skylark_io/adapter/dtc_io.h>
#include <skylark_io/util/udll.h>

#include <array>
#include <atomic>
#include <string>
#include <tuple>

namespace dtcctl {

/// The entry points of an adapter library, in the order of entryNames.
enum class Entry : unsigned int {
    GetVersion,
    GetStatus,
    Create,
    Open,
    Close,
    Send, ///< The older form without the count of bytes sent; nobody need have it.
    SendV2,
    ReceiveReady,
    Receive,
    LocalId,
    GetState,
    GetError
};

constexpr std::array<char const*, 12> entryNames = {
    "DTC_Get_Version", "DTC_Get_Status",  "DTC_IO_Create",    "DTC_IO_Open",
    "DTC_IO_Close",    "DTC_IO_Send",     "DTC_IO_Send_V2",   "DTC_IO_Receive_Ready",
    "DTC_IO_Receive",  "DTC_IO_Local_Id", "DTC_IO_Get_State", "DTC_Get_Error"};

/// In the same order.
using EntryTypes =
    std::tuple<decltype(&DTC_Get_Version), decltype(&DTC_Get_Status), decltype(&DTC_IO_Create),
               decltype(&DTC_IO_Open), decltype(&DTC_IO_Close),
               DTC_IO_STATUS (*)(void*, unsigned int, unsigned int, unsigned int*, unsigned int),
               decltype(&DTC_IO_Send_V2), decltype(&DTC_IO_Receive_Ready),
               decltype(&DTC_IO_Receive), decltype(&DTC_IO_Local_Id), decltype(&DTC_IO_Get_State),
               decltype(&DTC_Get_Error)>;

constexpr char const* nameOf(Entry entry)
{
    return entryNames[static_cast<std::size_t>(entry)];
}

/// The function of the library that is running, null outside of it: it tells another process where
/// the library was when it took this one down, and a catcher where an exception came from.
using RunningCall = std::atomic<char const*>;

/// CutOff: the other side has ended, and what that says counts.
enum class Result : int { Ok, Warning, Skipped, Failed, CutOff };

/// How a check ended; thrown inside it to end it otherwise than Ok.
struct Finding
{
    Result result = Result::Ok;
    std::string text{};
};

/// An adapter library, each of its functions called by name. The call of one that it lacks skips
/// the check.
class AdapterLibrary
{
public:
    explicit AdapterLibrary(RunningCall& running) : m_running(running) {}

    /// False with error() telling why. The library's own code runs already here.
    bool load(std::string const& file);
    std::string error() const { return m_dll.GetError(); }
    bool unload();

    /// The path that the dynamic loader found.
    std::string path() const;

    bool has(Entry entry) const { return m_addresses[static_cast<std::size_t>(entry)] != nullptr; }

    template <Entry entry, typename... Arguments>
    auto call(Arguments... arguments)
    {
        constexpr auto at = static_cast<std::size_t>(entry);
        auto const function =
            reinterpret_cast<std::tuple_element_t<at, EntryTypes>>(m_addresses[at]);
        if (function == nullptr)
            throw Finding{Result::Skipped, entryNames[at] + std::string(" is not there")};
        m_running = entryNames[at];
        if constexpr (entry == Entry::Close) {
            function(arguments...);
            m_running = nullptr;
        } else {
            auto const result = function(arguments...);
            m_running = nullptr;
            return result;
        }
    }

    DTC_IO_STATUS create(char const* service, void** connection)
    {
        constexpr unsigned int param = 10; // the listener's
        return call<Entry::Create>(service, param, connection);
    }

private:
    RunningCall& m_running;
    KORVA::uDll m_dll{nullptr, -1};
    std::array<void*, entryNames.size()> m_addresses{};
};

} // namespace dtcctl
