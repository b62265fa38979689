#include "adapter/skylark_io_adapter_client.h"

#include "adapter/skylark_io_adapter_wait.h"
#include "util/message_path.h"
#include "util/usocket.h"

namespace KORVA::DTC {

skylark_Client::skylark_Client(uSocket* socket) : skylark_Connection(socket)
{
    limitStalls(*socket);
    m_waker.watch(socket->GetDescriptor());
}

KORVA_ONE_PIECE DTC_IO_STATUS skylark_Client::send(unsigned int /*clientId*/, unsigned int tag,
                                                   unsigned int* buffer, unsigned int length,
                                                   unsigned int* sent)
{
    DTC_IO_STATUS const status = send_sock(m_socket.get(), tag, buffer, length, sent);
    return status == DTC_IO_SUCCESS || !isClosing() ? status : closed();
}

DTC_IO_STATUS skylark_Client::receive_ready(unsigned int timeout)
{
    int const readable = selectReadable(m_socket->GetDescriptor(), timeout);
    if (isClosing())
        return closed();
    switch (readable) {
    case 0:
        return fail(DTC_IO_TIMEOUT, "Select() timed out");
    case -1:
        return fail(DTC_IO_FAILED, "Select() returned (-1)");
    default:
        return DTC_IO_SUCCESS;
    }
}

KORVA_ONE_PIECE DTC_IO_STATUS skylark_Client::receive(unsigned int* clientId, unsigned int* tag,
                                                      unsigned int* buffer, unsigned int size,
                                                      unsigned int* received, unsigned int timeout)
{
    if (clientId == nullptr)
        return fail(DTC_IO_INVALID, "Invalid parameter");
    DTC_IO_STATUS const ready = receive_ready(timeout);
    if (ready != DTC_IO_SUCCESS)
        return ready;
    *clientId = m_socket->GetRemotePort();
    DTC_IO_STATUS const status = receive_sock(m_socket.get(), tag, buffer, size, received);
    return status == DTC_IO_SUCCESS || !isClosing() ? status : closed();
}

} // namespace KORVA::DTC
