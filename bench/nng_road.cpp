// Nothing is copied between nng's messages and the caller's: a message that was received is the
// next to be sent, if its length fits. nng sets TCP_NODELAY itself.
#include "bench/road.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <nng/nng.h>
#include <nng/protocol/pair0/pair.h>
#include <string>
#include <utility>

namespace bench {
namespace {

constexpr int queuedMessages = 128; // so that a stream need not wait for each

void require(int result, char const* what)
{
    if (result == 0)
        return;
    std::fprintf(stderr, "%s: %s\n", what, nng_strerror(result));
    std::exit(1);
}

/// With synchronous calls.
class NngEnd : public End
{
public:
    explicit NngEnd(unsigned int port)
    {
        require(nng_pair0_open(&m_socket), "nng_pair0_open");
        require(nng_socket_set_size(m_socket, NNG_OPT_RECVMAXSZ, 0), "NNG_OPT_RECVMAXSZ");
        require(nng_socket_set_int(m_socket, NNG_OPT_SENDBUF, queuedMessages), "NNG_OPT_SENDBUF");
        require(nng_socket_set_int(m_socket, NNG_OPT_RECVBUF, queuedMessages), "NNG_OPT_RECVBUF");
        std::string const url = "tcp://127.0.0.1:" + std::to_string(port);
        if (port == 0)
            require(nng_listen(m_socket, url.c_str(), &m_listener, 0), "nng_listen");
        else
            require(nng_dial(m_socket, url.c_str(), nullptr, 0), "nng_dial");
    }
    ~NngEnd() override
    {
        nng_close(m_socket);
        nng_msg_free(m_received);
    }

    unsigned int port() override
    {
        nng_sockaddr address{};
        require(nng_listener_get_addr(m_listener, NNG_OPT_LOCADDR, &address), "NNG_OPT_LOCADDR");
        return ntohs(address.s_in.sa_port);
    }

    unsigned int receive(unsigned int* /*buffer*/, unsigned int size) override
    {
        nng_msg* message = nullptr;
        require(nng_recvmsg(m_socket, &message, 0), "nng_recvmsg");
        keep(message, size);
        return 0;
    }

    void send(unsigned int /*tag*/, unsigned int* /*buffer*/, unsigned int length) override
    {
        require(nng_sendmsg(m_socket, messageOf(length), 0), "nng_sendmsg");
    }

protected:
    /// For the next to be sent.
    void keep(nng_msg* message, unsigned int size)
    {
        if (nng_msg_len(message) > size)
            std::exit(1);
        if (m_received != nullptr)
            nng_msg_free(m_received);
        m_received = message;
    }

    nng_msg* messageOf(unsigned int length)
    {
        nng_msg* message = nullptr;
        if (m_received != nullptr && nng_msg_len(m_received) == length)
            std::swap(message, m_received);
        else
            require(nng_msg_alloc(&message, length), "nng_msg_alloc");
        return message;
    }

    nng_socket m_socket = NNG_SOCKET_INITIALIZER;

private:
    nng_listener m_listener = NNG_LISTENER_INITIALIZER;
    nng_msg* m_received = nullptr;
};

/// With asynchronous operations.
class NngAioEnd final : public NngEnd
{
public:
    explicit NngAioEnd(unsigned int port) : NngEnd(port)
    {
        require(nng_aio_alloc(&m_receiving, nullptr, nullptr), "nng_aio_alloc");
        require(nng_aio_alloc(&m_sending, nullptr, nullptr), "nng_aio_alloc");
    }
    ~NngAioEnd() override
    {
        nng_aio_free(m_receiving);
        nng_aio_free(m_sending);
    }

    unsigned int receive(unsigned int* /*buffer*/, unsigned int size) override
    {
        if (!m_isReceiving)
            nng_recv_aio(m_socket, m_receiving);
        nng_aio_wait(m_receiving);
        require(nng_aio_result(m_receiving), "nng_recv_aio");
        keep(nng_aio_get_msg(m_receiving), size);
        nng_recv_aio(m_socket, m_receiving);
        m_isReceiving = true;
        return 0;
    }

    void send(unsigned int /*tag*/, unsigned int* /*buffer*/, unsigned int length) override
    {
        nng_aio_wait(m_sending); // the one before
        require(nng_aio_result(m_sending), "nng_send_aio");
        nng_aio_set_msg(m_sending, messageOf(length));
        nng_send_aio(m_socket, m_sending);
    }

private:
    nng_aio* m_receiving = nullptr;
    nng_aio* m_sending = nullptr;
    bool m_isReceiving = false;
};

} // namespace

std::unique_ptr<End> nngRoad(unsigned int port)
{
    return makeEnd<NngEnd>(port);
}

std::unique_ptr<End> nngAioRoad(unsigned int port)
{
    return makeEnd<NngAioEnd>(port);
}

} // namespace bench
