#include "tests/support/raw_peer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace testing_support {
namespace {

constexpr int patienceMs = 20'000;

sockaddr_in loopback(char const* host, unsigned int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

unsigned int localPortOf(int descriptor)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

void require(bool success, char const* what)
{
    if (!success)
        throw std::runtime_error(what);
}

template <typename Call>
bool with(sockaddr_in const& address, int descriptor, Call call)
{
    return call(descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
}

} // namespace

RawPeer::RawPeer(unsigned int port, char const* from)
    : m_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    require(with(loopback(from, 0), m_descriptor, ::bind), "bind");
    // A server that turns its clients away may be faster than connect returns.
    require(with(loopback("127.0.0.1", port), m_descriptor, ::connect) || errno == ECONNRESET,
            "connect");
}

RawPeer::RawPeer(RawPeer&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

RawPeer::~RawPeer()
{
    close();
}

unsigned int RawPeer::localPort() const
{
    return localPortOf(m_descriptor);
}

void RawPeer::send(std::string const& bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        ssize_t const count =
            ::send(m_descriptor, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        require(count > 0, "send");
        done += static_cast<std::size_t>(count);
    }
}

std::string RawPeer::receive(std::size_t length)
{
    std::string bytes(length, '\0');
    std::size_t done = 0;
    for (ssize_t count = 1; done < length && count > 0;) {
        count = recv(m_descriptor, &bytes[done], length - done, 0);
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    bytes.resize(done);
    return bytes;
}

bool RawPeer::seesEnd()
{
    pollfd readable{m_descriptor, POLLIN, 0};
    char byte = 0;
    return poll(&readable, 1, patienceMs) == 1 && recv(m_descriptor, &byte, 1, 0) <= 0;
}

void RawPeer::close()
{
    if (m_descriptor != -1)
        ::close(std::exchange(m_descriptor, -1));
}

void RawPeer::reset()
{
    linger const discard{1, 0};
    setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
    close();
}

RawListener::RawListener() : m_descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    require(with(loopback("127.0.0.1", 0), m_descriptor, ::bind), "bind");
    require(listen(m_descriptor, 8) == 0, "listen");
}

RawListener::~RawListener()
{
    ::close(m_descriptor);
}

unsigned int RawListener::port() const
{
    return localPortOf(m_descriptor);
}

RawPeer RawListener::accept()
{
    int const accepted = accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC);
    require(accepted != -1, "accept");
    return RawPeer(RawPeer::Adopt{accepted});
}

std::string header(unsigned int byteCount, unsigned int tag, unsigned int magic,
                   unsigned int reserved)
{
    std::string bytes;
    for (unsigned int const word : {magic, reserved, byteCount, tag}) {
        for (unsigned int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<char>(word >> shift & 0xFFU));
    }
    return bytes;
}

std::string message(std::string const& payload, unsigned int tag)
{
    return header(static_cast<unsigned int>(payload.size()), tag) + payload;
}

} // namespace testing_support
