#include "adapter/skylark_io_adapter_client.h"

#include "adapter/skylark_io_adapter_select.h"
#include "util/usocket.h"

namespace KORVA::DTC {

DTC_IO_STATUS skylark_Client::send(unsigned int /*clientId*/, unsigned int tag,
                                   unsigned int* buffer, unsigned int length, unsigned int* sent)
{
    return send_sock(m_socket.get(), tag, buffer, length, sent);
}

DTC_IO_STATUS skylark_Client::receive_ready(unsigned int timeout)
{
    switch (select_readable(m_socket->GetDescriptor(), timeout)) {
    case 0:
        return fail(DTC_IO_TIMEOUT, "Select() timed out");
    case -1:
        return fail(DTC_IO_FAILED, "Select() returned (-1)");
    default:
        return DTC_IO_SUCCESS;
    }
}

DTC_IO_STATUS skylark_Client::receive(unsigned int* clientId, unsigned int* tag,
                                      unsigned int* buffer, unsigned int size,
                                      unsigned int* received, unsigned int timeout)
{
    if (clientId == nullptr)
        return fail(DTC_IO_INVALID, "Invalid parameter");
    DTC_IO_STATUS const ready = receive_ready(timeout);
    if (ready != DTC_IO_SUCCESS)
        return ready;
    *clientId = m_socket->GetRemotePort();
    return receive_sock(m_socket.get(), tag, buffer, size, received);
}

} // namespace KORVA::DTC
