#include "bench/compare/zeromq_road.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <zmq.h>

namespace bench {
namespace {

void require(bool success, char const* what)
{
    if (success)
        return;
    std::fprintf(stderr, "%s: %s\n", what, zmq_strerror(zmq_errno()));
    std::exit(1);
}

} // namespace

ZeromqEnd::ZeromqEnd() : m_socket(nullptr), m_context(zmq_ctx_new())
{
    m_socket = zmq_socket(m_context, ZMQ_PAIR);
    require(m_socket != nullptr, "zmq_socket");
    int const none = 0;
    zmq_setsockopt(m_socket, ZMQ_LINGER, &none, sizeof none);
}

ZeromqEnd::~ZeromqEnd()
{
    zmq_close(m_socket);
    zmq_ctx_term(m_context);
}

void ZeromqEnd::receive(unsigned int* /*buffer*/, unsigned int size)
{
    zmq_msg_t message;
    zmq_msg_init(&message);
    require(zmq_msg_recv(&message, m_socket, 0) != -1, "zmq_msg_recv");
    require(zmq_msg_size(&message) <= size, "size");
    zmq_msg_close(&message);
}

void ZeromqEnd::send(unsigned int /*tag*/, unsigned int const* buffer, unsigned int length)
{
    require(zmq_send_const(m_socket, buffer, length, 0) != -1, "zmq_send_const");
}

ZeromqServer::ZeromqServer()
{
    require(zmq_bind(m_socket, "tcp://127.0.0.1:*") == 0, "zmq_bind");
}

unsigned int ZeromqServer::port() const
{
    char endpoint[64] = "";
    std::size_t size = sizeof endpoint;
    require(zmq_getsockopt(m_socket, ZMQ_LAST_ENDPOINT, endpoint, &size) == 0, "endpoint");
    return static_cast<unsigned int>(std::atoi(std::strrchr(endpoint, ':') + 1));
}

ZeromqClient::ZeromqClient(unsigned int port)
{
    std::string const endpoint = "tcp://127.0.0.1:" + std::to_string(port);
    require(zmq_connect(m_socket, endpoint.c_str()) == 0, "zmq_connect");
}

} // namespace bench
