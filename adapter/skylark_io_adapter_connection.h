/// What the server and the client connections of the transport have in common.
#pragma once

#include "adapter/io_adapter.h"
#include "adapter/skylark_io_adapter_error_text.h"
#include "util/message_path.h"

#include <memory>

namespace KORVA {
class uSocket;
}

namespace KORVA::DTC {

class skylark_Connection : public IOAdapter_Connection
{
public:
    /// Takes ownership of the socket: a server's listening one, a client's connected one.
    explicit skylark_Connection(uSocket* socket);
    ~skylark_Connection() override;
    skylark_Connection(skylark_Connection const&) = delete;
    skylark_Connection& operator=(skylark_Connection const&) = delete;

    DTC_IO_STATUS get_local_id(unsigned int* id) override;
    DTC_IO_STATUS get_state(DTC_IO_LOADERIF** state) override;
    char const* get_error() override;

    /// The same text for a thread that copies it while other threads may fail on this connection.
    ErrorText const& error_text() const { return m_error; }

protected:
    /// Sends one message of length bytes. Blocks until it has gone out or the socket fails.
    KORVA_ONE_PIECE DTC_IO_STATUS send_sock(uSocket* socket, unsigned int tag, unsigned int* buffer,
                                            unsigned int length, unsigned int* sent);

    /// Receives one message into the size bytes at buffer. Blocks until it is in or the socket
    /// fails. A message larger than size is read to its end and dropped.
    KORVA_ONE_PIECE DTC_IO_STATUS receive_sock(uSocket* socket, unsigned int* tag,
                                               unsigned int* buffer, unsigned int size,
                                               unsigned int* received);

    KORVA_SELDOM DTC_IO_STATUS fail(DTC_IO_STATUS status, char const* text);

    ErrorText m_error;
    std::unique_ptr<uSocket> m_socket;

private:
    KORVA_SELDOM DTC_IO_STATUS discard_payload(uSocket& socket, unsigned char* buffer,
                                               unsigned int size, unsigned int length);
    /// The status for a socket's result, which it also prints with the call, where that is not
    /// null.
    KORVA_SELDOM DTC_IO_STATUS transfer_failed(uSocket const& socket, unsigned int result,
                                               char const* call);
};

} // namespace KORVA::DTC
