// Nothing is copied between ZeroMQ's messages and the caller's: it sends constant data straight
// from the buffer, and what it receives stays where it put it. It sets TCP_NODELAY itself.
#include "bench/road.h"

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

/// One end of a pair.
class ZeromqEnd : public End
{
public:
    explicit ZeromqEnd(unsigned int port, int type = ZMQ_PAIR)
        : m_context(zmq_ctx_new()), m_socket(zmq_socket(m_context, type))
    {
        require(m_socket != nullptr, "zmq_socket");
        int const none = 0;
        zmq_setsockopt(m_socket, ZMQ_LINGER, &none, sizeof none);
        std::string const server = "tcp://127.0.0.1:" + std::to_string(port);
        if (port == 0)
            require(zmq_bind(m_socket, "tcp://127.0.0.1:*") == 0, "zmq_bind");
        else
            require(zmq_connect(m_socket, server.c_str()) == 0, "zmq_connect");
    }
    ~ZeromqEnd() override
    {
        zmq_close(m_socket);
        zmq_ctx_term(m_context);
    }

    unsigned int port() override
    {
        char endpoint[64] = "";
        std::size_t size = sizeof endpoint;
        require(zmq_getsockopt(m_socket, ZMQ_LAST_ENDPOINT, endpoint, &size) == 0, "endpoint");
        return static_cast<unsigned int>(std::atoi(std::strrchr(endpoint, ':') + 1));
    }

    unsigned int receive(unsigned int* /*buffer*/, unsigned int size) override
    {
        require(receivePart(nullptr, 0) <= size, "size");
        return 0;
    }

    void send(unsigned int /*tag*/, unsigned int* buffer, unsigned int length) override
    {
        require(zmq_send_const(m_socket, buffer, length, 0) != -1, "zmq_send_const");
    }

protected:
    /// The length of a part of a message.
    unsigned int receivePart(void* copy, unsigned int copied)
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

    /// Copied: small parts are cheaper so, and the tag lies on the stack.
    void sendSmallPart(void const* part, unsigned int length)
    {
        require(zmq_send(m_socket, part, length, ZMQ_SNDMORE) != -1, "zmq_send");
    }

private:
    void* m_context;
    void* m_socket;
};

class ZeromqDealer : public ZeromqEnd
{
public:
    explicit ZeromqDealer(unsigned int port, int type = ZMQ_DEALER) : ZeromqEnd(port, type) {}

    unsigned int receive(unsigned int* buffer, unsigned int size) override
    {
        unsigned int tag = 0;
        require(receivePart(&tag, sizeof tag) == sizeof tag, "tag");
        ZeromqEnd::receive(buffer, size);
        return tag;
    }

    void send(unsigned int tag, unsigned int* buffer, unsigned int length) override
    {
        sendSmallPart(&tag, sizeof tag);
        ZeromqEnd::send(tag, buffer, length);
    }
};

/// A server of many clients: what a dealer sends and receives, and the client beforehand.
class ZeromqRouter final : public ZeromqDealer
{
public:
    explicit ZeromqRouter(unsigned int port) : ZeromqDealer(port, ZMQ_ROUTER) {}

    unsigned int receive(unsigned int* buffer, unsigned int size) override
    {
        m_clientLength = receivePart(m_client, sizeof m_client);
        return ZeromqDealer::receive(buffer, size);
    }

    void send(unsigned int tag, unsigned int* buffer, unsigned int length) override
    {
        sendSmallPart(m_client, m_clientLength);
        ZeromqDealer::send(tag, buffer, length);
    }

private:
    char m_client[256] = {}; ///< as long as an identity can be
    unsigned int m_clientLength = 0;
};

} // namespace

std::unique_ptr<End> zeromqRoad(unsigned int port)
{
    return makeEnd<ZeromqEnd>(port);
}

std::unique_ptr<End> zeromqRouterRoad(unsigned int port)
{
    return makeEnd<ZeromqRouter, ZeromqDealer>(port);
}

} // namespace bench
