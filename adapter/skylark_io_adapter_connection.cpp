#include "adapter/skylark_io_adapter_connection.h"

#include "adapter/skylark_io_adapter_call.h"
#include "util/usocket.h"

#include <chrono>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <thread>

namespace KORVA::DTC {

skylark_Connection::skylark_Connection(uSocket* socket) : m_socket(socket) {}

skylark_Connection::~skylark_Connection() = default;

DTC_IO_STATUS skylark_Connection::get_local_id(unsigned int* id)
{
    if (id == nullptr)
        return DTC_IO_INVALID;
    *id = m_socket->GetLocalPort();
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS skylark_Connection::get_state(DTC_IO_LOADERIF** state)
{
    if (state != nullptr)
        *state = nullptr;
    return DTC_IO_SUCCESS;
}

char const* skylark_Connection::get_error()
{
    return m_error.c_str();
}

DTC_IO_STATUS skylark_Connection::fail(DTC_IO_STATUS status, char const* text)
{
    m_error.set(text);
    return status;
}

void skylark_Connection::end_calls()
{
    while (Call::isUnderWay(this)) {
        m_waker.wake();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

DTC_IO_STATUS skylark_Connection::closed()
{
    return fail(DTC_IO_DISCONNECTED, "Connection has been closed");
}

/// A peer whose window is closed is asked less and less often whether it has opened, in the end
/// every two minutes; Linux 6.15 and later can be told to go on asking.
void skylark_Connection::limit_stalls(uSocket const& socket)
{
    constexpr timeval wakesUp{0, 100'000};
    constexpr int TcpRtoMaxMs = 44; // TCP_RTO_MAX_MS, which linux/tcp.h has had since then
    constexpr int asksMs = 5000;
    int const descriptor = socket.GetDescriptor();
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &wakesUp, sizeof wakesUp);
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &wakesUp, sizeof wakesUp);
    setsockopt(descriptor, IPPROTO_TCP, TcpRtoMaxMs, &asksMs, sizeof asksMs);
}

} // namespace KORVA::DTC
