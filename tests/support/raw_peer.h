#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <linux/filter.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace testing_support {

/// A TCP socket that knows nothing of the library: what a foreign, broken or hostile peer would
/// use.
class RawPeer
{
public:
    /// Connects to 127.0.0.1:port, from the local address given.
    explicit RawPeer(unsigned int port, char const* from = "127.0.0.1")
        : RawPeer(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), from)
    {
        call(::connect, "127.0.0.1", port);
    }
    RawPeer(RawPeer&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    ~RawPeer() { close(); }

    int descriptor() const { return m_descriptor; }

    unsigned int localPort() const
    {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }

    void close() ///< In good order.
    {
        if (m_descriptor != -1)
            ::close(std::exchange(m_descriptor, -1));
    }

    void reset() ///< With a reset instead of a farewell.
    {
        linger const discard{1, 0};
        setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
        close();
    }

    /// From now on nothing reaches it and it answers nothing, as if its machine had lost power.
    void vanish()
    {
        sock_filter drop[] = {{BPF_RET | BPF_K, 0, 0, 0}};
        sock_fprog const program{1, drop};
        require(setsockopt(m_descriptor, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program),
                "setsockopt");
    }

    void send(std::string const& bytes)
    {
        for (std::size_t done = 0; done < bytes.size();) {
            auto const left = bytes.size() - done;
            done += require(::send(m_descriptor, &bytes[done], left, MSG_NOSIGNAL), "send");
        }
    }

    bool hasBytes() const
    {
        pollfd readable{m_descriptor, POLLIN, 0};
        return poll(&readable, 1, 0) == 1;
    }

    /// Exactly so many bytes, fewer only at the end of the stream.
    std::string receive(std::size_t length)
    {
        std::string bytes(length, '\0');
        ssize_t const count = recv(m_descriptor, bytes.data(), length, MSG_WAITALL);
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return bytes;
    }

    /// True when the other side has closed or reset the connection; waits a while for it.
    bool seesEnd()
    {
        pollfd readable{m_descriptor, POLLIN, 0};
        char byte = 0;
        return poll(&readable, 1, 20'000) == 1 && recv(m_descriptor, &byte, 1, 0) <= 0;
    }

private:
    friend class RawListener;

    RawPeer(int descriptor, char const* from, unsigned int port = 0) : m_descriptor(descriptor)
    {
        require(m_descriptor, "socket");
        if (from != nullptr)
            call(::bind, from, port);
    }

    static std::size_t require(ssize_t result, char const* what)
    {
        return result != -1 ? static_cast<std::size_t>(result) : throw std::runtime_error(what);
    }

    /// bind(2) or connect(2). A server that turns its clients away may be faster than connect
    /// returns.
    void call(int (*function)(int, sockaddr const*, socklen_t), char const* host, unsigned int port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        inet_pton(AF_INET, host, &address.sin_addr);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        bool const done = function(m_descriptor, generic, sizeof address) == 0;
        require(done || errno == ECONNRESET ? 0 : -1, "bind or connect");
    }

    int m_descriptor = -1;
};

/// Listens on a port of 127.0.0.1, or on one that the system picks.
class RawListener
{
public:
    explicit RawListener(unsigned int port = 0)
        : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "127.0.0.1", port)
    {
        RawPeer::require(listen(m_socket.m_descriptor, 8), "listen");
    }

    unsigned int port() const { return m_socket.localPort(); }

    RawPeer accept()
    {
        return {accept4(m_socket.m_descriptor, nullptr, nullptr, SOCK_CLOEXEC), nullptr};
    }

private:
    RawPeer m_socket;
};

/// A message header as it stands on the wire.
inline std::string header(unsigned int byteCount, unsigned int tag, unsigned int magic = 0xFACE0001,
                          unsigned int reserved = 0)
{
    std::string bytes;
    for (unsigned int const word : {magic, reserved, byteCount, tag}) {
        for (unsigned int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<char>(word >> shift & 0xFFU));
    }
    return bytes;
}

/// A whole message.
inline std::string message(std::string const& payload, unsigned int tag)
{
    return header(static_cast<unsigned int>(payload.size()), tag) + payload;
}

} // namespace testing_support
