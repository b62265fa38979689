#include "bench/compare/nng_road.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <nng/protocol/pair0/pair.h>
#include <string>

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

} // namespace

NngEnd::NngEnd() : m_socket(NNG_SOCKET_INITIALIZER)
{
    require(nng_pair0_open(&m_socket), "nng_pair0_open");
    require(nng_socket_set_size(m_socket, NNG_OPT_RECVMAXSZ, 0), "NNG_OPT_RECVMAXSZ");
    require(nng_socket_set_int(m_socket, NNG_OPT_SENDBUF, queuedMessages), "NNG_OPT_SENDBUF");
    require(nng_socket_set_int(m_socket, NNG_OPT_RECVBUF, queuedMessages), "NNG_OPT_RECVBUF");
}

NngEnd::~NngEnd()
{
    nng_close(m_socket);
    nng_msg_free(m_received);
}

/// For the next to be sent.
void NngEnd::keep(nng_msg* message, unsigned int size)
{
    if (nng_msg_len(message) > size)
        std::exit(1);
    if (m_received != nullptr)
        nng_msg_free(m_received);
    m_received = message;
}

nng_msg* NngEnd::messageOf(unsigned int length)
{
    nng_msg* message = nullptr;
    if (m_received != nullptr && nng_msg_len(m_received) == length)
        std::swap(message, m_received);
    else
        require(nng_msg_alloc(&message, length), "nng_msg_alloc");
    return message;
}

void NngEnd::receive(unsigned int* /*buffer*/, unsigned int size)
{
    nng_msg* message = nullptr;
    require(nng_recvmsg(m_socket, &message, 0), "nng_recvmsg");
    keep(message, size);
}

void NngEnd::send(unsigned int /*tag*/, unsigned int const* /*buffer*/, unsigned int length)
{
    require(nng_sendmsg(m_socket, messageOf(length), 0), "nng_sendmsg");
}

NngAioEnd::NngAioEnd()
{
    require(nng_aio_alloc(&m_receiving, nullptr, nullptr), "nng_aio_alloc");
    require(nng_aio_alloc(&m_sending, nullptr, nullptr), "nng_aio_alloc");
}

NngAioEnd::~NngAioEnd()
{
    nng_aio_free(m_receiving);
    nng_aio_free(m_sending);
}

void NngAioEnd::receive(unsigned int* /*buffer*/, unsigned int size)
{
    if (!m_isReceiving)
        nng_recv_aio(m_socket, m_receiving);
    nng_aio_wait(m_receiving);
    require(nng_aio_result(m_receiving), "nng_recv_aio");
    keep(nng_aio_get_msg(m_receiving), size);
    nng_recv_aio(m_socket, m_receiving);
    m_isReceiving = true;
}

void NngAioEnd::send(unsigned int /*tag*/, unsigned int const* /*buffer*/, unsigned int length)
{
    nng_aio_wait(m_sending); // the one before
    require(nng_aio_result(m_sending), "nng_send_aio");
    nng_aio_set_msg(m_sending, messageOf(length));
    nng_send_aio(m_socket, m_sending);
}

template <typename End>
NngServer<End>::NngServer() : m_listener(NNG_LISTENER_INITIALIZER)
{
    require(nng_listen(this->m_socket, "tcp://127.0.0.1:0", &m_listener, 0), "nng_listen");
}

template <typename End>
unsigned int NngServer<End>::port() const
{
    nng_sockaddr address{};
    require(nng_listener_get_addr(m_listener, NNG_OPT_LOCADDR, &address), "NNG_OPT_LOCADDR");
    return ntohs(address.s_in.sa_port);
}

template <typename End>
NngClient<End>::NngClient(unsigned int port)
{
    std::string const url = "tcp://127.0.0.1:" + std::to_string(port);
    require(nng_dial(this->m_socket, url.c_str(), nullptr, 0), "nng_dial");
}

template class NngServer<NngEnd>;
template class NngServer<NngAioEnd>;
template class NngClient<NngEnd>;
template class NngClient<NngAioEnd>;

} // namespace bench
