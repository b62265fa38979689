#pragma once

#include "adapter/dtc_io.h"
#include "util/udll.h"

#include <array>
#include <atomic>
#include <exception>
#include <string>
#include <type_traits>
#include <vector>

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

constexpr char const* nameOf(Entry entry)
{
    return entryNames[static_cast<unsigned int>(entry)];
}

/// The function of the library that is running, null outside of it: it tells another process where
/// the library was when it took this one down.
using RunningCall = std::atomic<char const*>;

/// An adapter library, each of its functions called by name. Only call what has() knows.
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

    /// See looseEntries of dtcctl_adapter_binding.h.
    std::vector<std::string> looseEntries() const;

    bool has(Entry entry) const { return address(entry) != nullptr; }

    char const* getVersion() { return call<decltype(&DTC_Get_Version)>(Entry::GetVersion); }
    int getStatus() { return call<decltype(&DTC_Get_Status)>(Entry::GetStatus); }
    char const* getError() { return call<decltype(&DTC_Get_Error)>(Entry::GetError); }

    DTC_IO_STATUS create(char const* service, void** connection)
    {
        constexpr unsigned int param = 10; // the listener's
        return call<decltype(&DTC_IO_Create)>(Entry::Create, service, param, connection);
    }
    DTC_IO_STATUS open(char const* address, char const* service, void** connection)
    {
        return call<decltype(&DTC_IO_Open)>(Entry::Open, address, service, connection);
    }
    void close(void* connection) { call<decltype(&DTC_IO_Close)>(Entry::Close, connection); }

    DTC_IO_STATUS sendOld(void* connection, unsigned int clientId, unsigned int tag,
                          unsigned int* buffer, unsigned int length)
    {
        using Function =
            DTC_IO_STATUS (*)(void*, unsigned int, unsigned int, unsigned int*, unsigned int);
        return call<Function>(Entry::Send, connection, clientId, tag, buffer, length);
    }
    DTC_IO_STATUS sendV2(void* connection, unsigned int clientId, unsigned int tag,
                         unsigned int* buffer, unsigned int length, unsigned int* sent)
    {
        return call<decltype(&DTC_IO_Send_V2)>(Entry::SendV2, connection, clientId, tag, buffer,
                                               length, sent);
    }
    DTC_IO_STATUS receiveReady(void* connection, unsigned int timeoutMs)
    {
        return call<decltype(&DTC_IO_Receive_Ready)>(Entry::ReceiveReady, connection, timeoutMs);
    }
    DTC_IO_STATUS receive(void* connection, unsigned int* clientId, unsigned int* tag,
                          unsigned int* buffer, unsigned int size, unsigned int* received,
                          unsigned int timeoutMs)
    {
        return call<decltype(&DTC_IO_Receive)>(Entry::Receive, connection, clientId, tag, buffer,
                                               size, received, timeoutMs);
    }
    DTC_IO_STATUS localId(void* connection, unsigned int* id)
    {
        return call<decltype(&DTC_IO_Local_Id)>(Entry::LocalId, connection, id);
    }
    DTC_IO_STATUS getState(void* connection, DTC_IO_LOADERIF** state)
    {
        return call<decltype(&DTC_IO_Get_State)>(Entry::GetState, connection, state);
    }

private:
    /// Left in place by an exception, so that its catcher can tell where it came from.
    class CallMark
    {
    public:
        CallMark(RunningCall& running, char const* name)
            : m_running(running), m_exceptions(std::uncaught_exceptions())
        {
            m_running = name;
        }
        ~CallMark()
        {
            if (std::uncaught_exceptions() == m_exceptions)
                m_running = nullptr;
        }
        CallMark(CallMark const&) = delete;
        CallMark& operator=(CallMark const&) = delete;

    private:
        RunningCall& m_running;
        int m_exceptions;
    };

    void* address(Entry entry) const { return m_addresses[static_cast<unsigned int>(entry)]; }

    template <typename Function, typename... Arguments>
    std::invoke_result_t<Function, Arguments...> call(Entry entry, Arguments... arguments)
    {
        CallMark const mark(m_running, nameOf(entry));
        return reinterpret_cast<Function>(address(entry))(arguments...);
    }

    RunningCall& m_running;
    KORVA::uDll m_dll{nullptr, -1};
    std::array<void*, entryNames.size()> m_addresses{};
};

} // namespace dtcctl
