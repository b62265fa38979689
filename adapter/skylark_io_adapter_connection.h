/// What the server and the client connections of the transport have in common.
#pragma once

#include "adapter/io_adapter.h"
#include "adapter/skylark_io_adapter_error_text.h"
#include "adapter/skylark_io_adapter_waker.h"
#include "util/message_path.h"

#include <memory>

namespace KORVA {
class uSocket;
}

namespace KORVA::DTC {

class PeerWatch;

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
    ErrorText const& errorText() const { return m_error; }

    /// Wakes the threads inside this connection's calls (Call) and waits until the last one has
    /// left: each returns DTC_IO_DISCONNECTED and the text "Connection has been closed". What
    /// cannot wait for a peer, the admission of a client, comes to its end first.
    void endCalls();

protected:
    /// Sets what a connected socket needs for its transfers to wake up now and then.
    static void limitStalls(uSocket const& socket);

    bool isClosing() const { return m_waker.isAwake(); }
    /// What a call returns that was woken.
    KORVA_SELDOM DTC_IO_STATUS closed();

    /// Sends one message of length bytes. Blocks until it has gone out, the socket fails or the
    /// connection is closed.
    DTC_IO_STATUS send_sock(uSocket* socket, unsigned int tag, unsigned int* buffer,
                            unsigned int length, unsigned int* sent);

    /// Receives one message into the size bytes at buffer. Blocks until it is in, the socket fails
    /// or the connection is closed. A message larger than size is read to its end and dropped.
    DTC_IO_STATUS receive_sock(uSocket* socket, unsigned int* tag, unsigned int* buffer,
                               unsigned int size, unsigned int* received);

    KORVA_SELDOM DTC_IO_STATUS fail(DTC_IO_STATUS status, char const* text);

    ErrorText m_error;
    std::unique_ptr<uSocket> m_socket;
    Waker m_waker;

private:
    template <typename Transfer>
    unsigned int transferWhole(uSocket& socket, unsigned int length, Transfer transfer);
    unsigned int writeWhole(uSocket& socket, unsigned char const* bytes, unsigned int length);
    unsigned int readWhole(uSocket& socket, unsigned char* bytes, unsigned int length);
    KORVA_SELDOM unsigned int afterFailure(uSocket const& socket, unsigned int result,
                                           PeerWatch& watch);
    KORVA_SELDOM DTC_IO_STATUS discardPayload(uSocket& socket, unsigned char* buffer,
                                              unsigned int size, unsigned int length);
    /// The status for a socket's result, which it also prints with the call, where that is not
    /// null.
    KORVA_SELDOM DTC_IO_STATUS transferFailed(uSocket const& socket, unsigned int result,
                                              char const* call);
};

} // namespace KORVA::DTC
