#include "bench/compare/zeromq_road.h"

#include <algorithm>
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

ZeromqEnd::ZeromqEnd(int type) : m_socket(nullptr), m_context(zmq_ctx_new())
{
    m_socket = zmq_socket(m_context, type);
    require(m_socket != nullptr, "zmq_socket");
    int const none = 0;
    zmq_setsockopt(m_socket, ZMQ_LINGER, &none, sizeof none);
}

ZeromqEnd::~ZeromqEnd()
{
    zmq_close(m_socket);
    zmq_ctx_term(m_context);
}

unsigned int ZeromqEnd::receivePart(void* copy, unsigned int copied)
{
    zmq_msg_t part;
    zmq_msg_init(&part);
    require(zmq_msg_recv(&part, m_socket, 0) != -1, "zmq_msg_recv");
    unsigned int const length = static_cast<unsigned int>(zmq_msg_size(&part));
    if (copied > 0)
        std::memcpy(copy, zmq_msg_data(&part), std::min(length, copied));
    zmq_msg_close(&part);
    return length;
}

void ZeromqEnd::sendPart(void const* part, unsigned int length, bool isLast)
{
    require(zmq_send_const(m_socket, part, length, isLast ? 0 : ZMQ_SNDMORE) != -1,
            "zmq_send_const");
}

ZeromqPair::ZeromqPair() : ZeromqEnd(ZMQ_PAIR) {}

void ZeromqPair::receive(unsigned int* /*buffer*/, unsigned int size)
{
    require(receivePart(nullptr, 0) <= size, "size");
}

void ZeromqPair::send(unsigned int /*tag*/, unsigned int const* buffer, unsigned int length)
{
    sendPart(buffer, length, true);
}

ZeromqRouter::ZeromqRouter() : ZeromqEnd(ZMQ_ROUTER) {}

unsigned int ZeromqRouter::receive(unsigned int* /*buffer*/, unsigned int size)
{
    m_clientLength = receivePart(m_client, sizeof m_client);
    unsigned int tag = 0;
    require(receivePart(&tag, sizeof tag) == sizeof tag, "tag");
    require(receivePart(nullptr, 0) <= size, "size");
    return tag;
}

void ZeromqRouter::send(unsigned int tag, unsigned int const* buffer, unsigned int length)
{
    // Copied: small parts are cheaper so, and the tag lies on the stack.
    require(zmq_send(m_socket, m_client, m_clientLength, ZMQ_SNDMORE) != -1, "zmq_send");
    require(zmq_send(m_socket, &tag, sizeof tag, ZMQ_SNDMORE) != -1, "zmq_send");
    sendPart(buffer, length, true);
}

ZeromqDealer::ZeromqDealer() : ZeromqEnd(ZMQ_DEALER) {}

unsigned int ZeromqDealer::receive(unsigned int* /*buffer*/, unsigned int size)
{
    unsigned int tag = 0;
    require(receivePart(&tag, sizeof tag) == sizeof tag, "tag");
    require(receivePart(nullptr, 0) <= size, "size");
    return tag;
}

void ZeromqDealer::send(unsigned int tag, unsigned int const* buffer, unsigned int length)
{
    require(zmq_send(m_socket, &tag, sizeof tag, ZMQ_SNDMORE) != -1, "zmq_send");
    sendPart(buffer, length, true);
}

template <typename End>
ZeromqServer<End>::ZeromqServer()
{
    require(zmq_bind(this->m_socket, "tcp://127.0.0.1:*") == 0, "zmq_bind");
}

template <typename End>
unsigned int ZeromqServer<End>::port() const
{
    char endpoint[64] = "";
    std::size_t size = sizeof endpoint;
    require(zmq_getsockopt(this->m_socket, ZMQ_LAST_ENDPOINT, endpoint, &size) == 0, "endpoint");
    return static_cast<unsigned int>(std::atoi(std::strrchr(endpoint, ':') + 1));
}

template <typename End>
ZeromqClient<End>::ZeromqClient(unsigned int port)
{
    std::string const endpoint = "tcp://127.0.0.1:" + std::to_string(port);
    require(zmq_connect(this->m_socket, endpoint.c_str()) == 0, "zmq_connect");
}

template class ZeromqServer<ZeromqPair>;
template class ZeromqClient<ZeromqPair>;
template class ZeromqServer<ZeromqRouter>;
template class ZeromqClient<ZeromqDealer>;

} // namespace bench
