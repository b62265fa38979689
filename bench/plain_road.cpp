#include "bench/road.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {
namespace {

void require(bool success, char const* what)
{
    if (success)
        return;
    std::perror(what);
    std::exit(1);
}

void switchOn(int descriptor, int level, int option)
{
    int const on = 1;
    setsockopt(descriptor, level, option, &on, sizeof on);
}

sockaddr_in loopback(unsigned int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

void sendAll(int descriptor, void const* data, std::size_t length, int flags)
{
    for (std::size_t done = 0; done < length;) {
        ssize_t const count =
            send(descriptor, static_cast<char const*>(data) + done, length - done, flags);
        require(count > 0, "send");
        done += static_cast<std::size_t>(count);
    }
}

void receiveAll(int descriptor, void* data, std::size_t length)
{
    for (std::size_t done = 0; done < length;) {
        ssize_t const count = recv(descriptor, static_cast<char*>(data) + done, length - done, 0);
        require(count > 0, "recv");
        done += static_cast<std::size_t>(count);
    }
}

/// Waits until one of the descriptors is readable, ten seconds at most.
void await(int one, int other)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(one, &set);
    FD_SET(other, &set);
    timeval limit{10, 0};
    require(select(std::max(one, other) + 1, &set, nullptr, nullptr, &limit) > 0, "select");
}

/// An end with one peer.
template <int headerFlags>
class PlainEnd : public End
{
public:
    ~PlainEnd() override { close(m_connection); }

    void send(unsigned int tag, unsigned int* buffer, unsigned int length) override
    {
        std::uint32_t const header[4] = {0xFACE0001, 0, length, tag};
        sendAll(m_connection, header, sizeof header, headerFlags);
        sendAll(m_connection, buffer, length, 0);
    }

protected:
    unsigned int receiveMessage(unsigned int* buffer, unsigned int size)
    {
        std::uint32_t header[4];
        receiveAll(m_connection, header, sizeof header);
        require(header[0] == 0xFACE0001 && header[2] <= size, "header");
        receiveAll(m_connection, buffer, header[2]);
        return header[3];
    }

    int m_connection = -1;
};

template <int headerFlags>
class PlainServer final : public PlainEnd<headerFlags>
{
public:
    explicit PlainServer(unsigned int port) : m_listening(socket(AF_INET, SOCK_STREAM, 0))
    {
        linger const discard{1, 0};
        setsockopt(m_listening, SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
        switchOn(m_listening, IPPROTO_TCP, TCP_NODELAY);
        sockaddr_in const address = loopback(port);
        require(bind(m_listening, reinterpret_cast<sockaddr const*>(&address), sizeof address) ==
                        0 &&
                    listen(m_listening, 1) == 0,
                "listen");
    }
    ~PlainServer() override { close(m_listening); }

    unsigned int port() override
    {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        require(getsockname(m_listening, reinterpret_cast<sockaddr*>(&address), &size) == 0,
                "getsockname");
        return ntohs(address.sin_port);
    }

    unsigned int receive(unsigned int* buffer, unsigned int size) override
    {
        if (this->m_connection == -1) {
            await(m_listening, m_listening);
            this->m_connection = accept(m_listening, nullptr, nullptr);
            require(this->m_connection != -1, "accept");
            switchOn(this->m_connection, SOL_SOCKET, SO_KEEPALIVE);
        }
        await(m_listening, this->m_connection);
        return this->receiveMessage(buffer, size);
    }

private:
    int m_listening;
};

template <int headerFlags>
class PlainClient final : public PlainEnd<headerFlags>
{
public:
    explicit PlainClient(unsigned int port)
    {
        this->m_connection = socket(AF_INET, SOCK_STREAM, 0);
        switchOn(this->m_connection, IPPROTO_TCP, TCP_NODELAY);
        sockaddr_in const address = loopback(port);
        require(connect(this->m_connection, reinterpret_cast<sockaddr const*>(&address),
                        sizeof address) == 0,
                "connect");
    }

    unsigned int receive(unsigned int* buffer, unsigned int size) override
    {
        await(this->m_connection, this->m_connection);
        return this->receiveMessage(buffer, size);
    }
};

} // namespace

std::unique_ptr<End> plainRoad(unsigned int port)
{
    return makeEnd<PlainServer<0>, PlainClient<0>>(port);
}

std::unique_ptr<End> joinedRoad(unsigned int port)
{
    return makeEnd<PlainServer<MSG_MORE>, PlainClient<MSG_MORE>>(port);
}

} // namespace bench
