/// The exported C functions, the one adapter behind them and the last-error text.
#include "adapter/skylark_io_adapter_library.h"

#include "adapter/skylark_io_adapter.h"
#include "adapter/skylark_io_adapter_call.h"
#include "adapter/skylark_io_adapter_connection.h"
#include "adapter/skylark_io_adapter_error_text.h"

#include <chrono>
#include <thread>

using KORVA::DTC::Call;
using KORVA::DTC::ErrorText;
using KORVA::DTC::IOAdapter_Connection;
using KORVA::DTC::skylark_Connection;
using KORVA::DTC::skylark_IOAdapter;

namespace KORVA::DTC {

char const* logApp = "skylark_io_adapter";

} // namespace KORVA::DTC

namespace {

// Built in this order when the library is loaded, destroyed in the reverse order when it is
// unloaded: g_ending, the last one, first. Destroying the adapter closes what is still open.
skylark_IOAdapter g_adapter;
ErrorText g_last_error;

/// Ends the calls of all threads while everything that they use still stands (util/at_load.h). A
/// thread that calls once more while the process comes to its end is told that its connection is
/// closed.
class Ending
{
public:
    Ending() { pthread_atfork(nullptr, nullptr, Call::forgetOtherThreads); }
    ~Ending()
    {
        Call::end();
        if (Call::isInterrupted()) {
            // A signal handler calls exit: what the call under it holds is never given up, and
            // others may wait for that. The system closes the connections.
            g_adapter.abandonConnections();
            return;
        }
        bool const wakesThreads = Call::isUnderWay();
        while (Call::isUnderWay(&g_adapter))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        g_adapter.endCalls();
        if (wakesThreads) // which still run the last steps of their calls, in code that may go now
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    Ending(Ending const&) = delete;
    Ending& operator=(Ending const&) = delete;
} const g_ending;

/// Hands out the connection that the adapter made, or its reason for having made none.
template <typename MakeConnection>
DTC_IO_STATUS makeConnection(void** connection, MakeConnection make)
{
    *connection = nullptr;
    Call const call(&g_adapter);
    if (!call.mayBegin())
        return DTC_IO_NO_CONNECTION;
    try {
        *connection = make();
        if (*connection != nullptr)
            return DTC_IO_SUCCESS;
        g_last_error.set(g_adapter.get_error());
    } catch (...) { // out of memory; the caller may be a C program
    }
    return DTC_IO_NO_CONNECTION;
}

template <typename Operation>
DTC_IO_STATUS onConnection(void* handle, Operation operation)
{
    Call const call(handle);
    if (!call.mayBegin())
        return DTC_IO_DISCONNECTED;
    auto* const connection = static_cast<IOAdapter_Connection*>(handle);
    try {
        DTC_IO_STATUS const status = operation(*connection);
        if (status != DTC_IO_SUCCESS)
            g_last_error.set(static_cast<skylark_Connection*>(connection)->errorText());
        return status;
    } catch (...) {
        return DTC_IO_INVALID;
    }
}

} // namespace

extern "C" {

KORVA_API char const* DTC_Get_Version(void)
{
    return g_adapter.get_version();
}

KORVA_API int DTC_Get_Status(void)
{
    return g_adapter.get_status();
}

KORVA_API char const* DTC_Get_Error(void)
{
    return Call::hasEnded() ? "Connection has been closed" : g_last_error.c_str();
}

KORVA_API DTC_IO_STATUS DTC_IO_Create(const char* service, unsigned int param, void** connection)
{
    return makeConnection(connection, [=] { return g_adapter.create(service, param); });
}

KORVA_API DTC_IO_STATUS DTC_IO_Open(const char* address, const char* service, void** connection)
{
    return makeConnection(connection, [=] { return g_adapter.open(address, service); });
}

KORVA_API void DTC_IO_Close(void* connection)
{
    Call const call(&g_adapter);
    if (call.mayBegin())
        g_adapter.close(static_cast<IOAdapter_Connection*>(connection));
}

KORVA_API DTC_IO_STATUS DTC_IO_Send_V2(void* connection, unsigned int clientId, unsigned int tag,
                                       unsigned int* buffer, unsigned int length,
                                       unsigned int* sent)
{
    return onConnection(connection, [=](IOAdapter_Connection& c) {
        return c.send(clientId, tag, buffer, length, sent);
    });
}

KORVA_API DTC_IO_STATUS DTC_IO_Receive(void* connection, unsigned int* clientId, unsigned int* tag,
                                       unsigned int* buffer, unsigned int size,
                                       unsigned int* received, unsigned int timeout)
{
    return onConnection(connection, [=](IOAdapter_Connection& c) {
        return c.receive(clientId, tag, buffer, size, received, timeout);
    });
}

KORVA_API DTC_IO_STATUS DTC_IO_Receive_Ready(void* connection, unsigned int timeout)
{
    return onConnection(connection,
                        [=](IOAdapter_Connection& c) { return c.receive_ready(timeout); });
}

KORVA_API DTC_IO_STATUS DTC_IO_Local_Id(void* connection, unsigned int* id)
{
    return onConnection(connection, [=](IOAdapter_Connection& c) { return c.get_local_id(id); });
}

KORVA_API DTC_IO_STATUS DTC_IO_Get_State(void* connection, DTC_IO_LOADERIF** state)
{
    Call const call(connection);
    if (!call.mayBegin())
        return DTC_IO_DISCONNECTED;
    try {
        return static_cast<IOAdapter_Connection*>(connection)->get_state(state);
    } catch (...) {
        return 3;
    }
}

} // extern "C"
