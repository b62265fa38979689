#include "bench/message_road.h"

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

void sendAll(int descriptor, void const* data, std::size_t length)
{
    for (std::size_t done = 0; done < length;) {
        ssize_t const count =
            send(descriptor, static_cast<char const*>(data) + done, length - done, 0);
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

void sendMessage(int descriptor, unsigned int tag, void const* payload, unsigned int length)
{
    std::uint32_t const header[4] = {0xFACE0001, 0, length, tag};
    sendAll(descriptor, header, sizeof header);
    sendAll(descriptor, payload, length);
}

unsigned int receiveMessage(int descriptor, void* payload, unsigned int size)
{
    std::uint32_t header[4];
    receiveAll(descriptor, header, sizeof header);
    require(header[0] == 0xFACE0001 && header[2] <= size, "header");
    receiveAll(descriptor, payload, header[2]);
    return header[3];
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

} // namespace

PlainRoad::PlainRoad()
    : m_listening(socket(AF_INET, SOCK_STREAM, 0)), m_client(socket(AF_INET, SOCK_STREAM, 0))
{
    linger const discard{1, 0};
    setsockopt(m_listening, SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
    switchOn(m_listening, IPPROTO_TCP, TCP_NODELAY);
    switchOn(m_client, IPPROTO_TCP, TCP_NODELAY);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    require(bind(m_listening, name, size) == 0 && listen(m_listening, 1) == 0, "listen");
    require(getsockname(m_listening, name, &size) == 0, "getsockname");
    require(connect(m_client, name, size) == 0, "connect");
    m_server = accept(m_listening, nullptr, nullptr);
    require(m_server != -1, "accept");
    switchOn(m_server, SOL_SOCKET, SO_KEEPALIVE);
}

PlainRoad::~PlainRoad()
{
    for (int const descriptor : {m_server, m_client, m_listening})
        close(descriptor);
}

void PlainRoad::clientSend(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    sendMessage(m_client, tag, buffer, length);
}

unsigned int PlainRoad::clientReceive(unsigned int* buffer, unsigned int size)
{
    await(m_client, m_client);
    return receiveMessage(m_client, buffer, size);
}

unsigned int PlainRoad::serverReceive(unsigned int* buffer, unsigned int size)
{
    await(m_listening, m_server);
    return receiveMessage(m_server, buffer, size);
}

void PlainRoad::serverSend(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    sendMessage(m_server, tag, buffer, length);
}

} // namespace bench
