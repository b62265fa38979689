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

#ifndef BENCH_HEADER_FLAGS
#define BENCH_HEADER_FLAGS 0
#endif

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

void sendMessage(int descriptor, unsigned int tag, void const* payload, unsigned int length)
{
    std::uint32_t const header[4] = {0xFACE0001, 0, length, tag};
    sendAll(descriptor, header, sizeof header, BENCH_HEADER_FLAGS);
    sendAll(descriptor, payload, length, 0);
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

PlainServer::PlainServer() : m_listening(socket(AF_INET, SOCK_STREAM, 0))
{
    linger const discard{1, 0};
    setsockopt(m_listening, SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
    switchOn(m_listening, IPPROTO_TCP, TCP_NODELAY);
    sockaddr_in const address = loopback(0);
    require(bind(m_listening, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0 &&
                listen(m_listening, 1) == 0,
            "listen");
}

PlainServer::~PlainServer()
{
    close(m_connection);
    close(m_listening);
}

unsigned int PlainServer::port() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    require(getsockname(m_listening, reinterpret_cast<sockaddr*>(&address), &size) == 0,
            "getsockname");
    return ntohs(address.sin_port);
}

unsigned int PlainServer::receive(unsigned int* buffer, unsigned int size)
{
    if (m_connection == -1) {
        await(m_listening, m_listening);
        m_connection = accept(m_listening, nullptr, nullptr);
        require(m_connection != -1, "accept");
        switchOn(m_connection, SOL_SOCKET, SO_KEEPALIVE);
    }
    await(m_listening, m_connection);
    return receiveMessage(m_connection, buffer, size);
}

void PlainServer::send(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    sendMessage(m_connection, tag, buffer, length);
}

PlainClient::PlainClient(unsigned int port) : m_connection(socket(AF_INET, SOCK_STREAM, 0))
{
    switchOn(m_connection, IPPROTO_TCP, TCP_NODELAY);
    sockaddr_in const address = loopback(port);
    require(connect(m_connection, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0,
            "connect");
}

PlainClient::~PlainClient()
{
    close(m_connection);
}

unsigned int PlainClient::receive(unsigned int* buffer, unsigned int size)
{
    await(m_connection, m_connection);
    return receiveMessage(m_connection, buffer, size);
}

void PlainClient::send(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    sendMessage(m_connection, tag, buffer, length);
}

} // namespace bench
