#include "util/usocket.h"

#include "util/descriptor.h"
#include "util/message_path.h"
#include "util/usocket_error.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace KORVA {
namespace {

sockaddr_in internetAddress(in_addr_t host, unsigned int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = host;
    address.sin_port = htons(static_cast<std::uint16_t>(port & 0xFFFFU));
    return address;
}

/// getsockname or getpeername: the port of one end of a connection, in host byte order.
template <typename NameOfEnd>
unsigned int portOf(int descriptor, NameOfEnd nameOfEnd)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (nameOfEnd(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return 0;
    return ntohs(address.sin_port);
}

/// Makes the system call again for as long as a signal interrupts it.
template <typename SystemCall>
auto uninterrupted(SystemCall systemCall)
{
    auto result = systemCall();
    while (result == -1 && errno == EINTR)
        result = systemCall();
    return result;
}

/// A connect that a signal interrupted goes on without the caller: wait for its end (connect(2)).
int finishConnect(int descriptor)
{
    pollfd writable{descriptor, POLLOUT, 0};
    if (uninterrupted([&] { return poll(&writable, 1, -1); }) == -1)
        return -1;
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == -1)
        return -1;
    errno = error;
    return error == 0 ? 0 : -1;
}

int connectTo(int descriptor, sockaddr_in const& address)
{
    if (connect(descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0)
        return 0;
    return errno == EINTR ? finishConnect(descriptor) : -1;
}

bool isConnectionLost(int error)
{
    return error == EPIPE || error == ECONNABORTED || error == ECONNRESET;
}

} // namespace

uSocket::~uSocket()
{
    Close();
}

bool uSocket::IsDescriptorTooLarge() const
{
    return m_descriptor >= FD_SETSIZE;
}

bool uSocket::openDescriptor()
{
    Close();
    m_descriptor = aboveStandardStreams(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (m_descriptor == -1)
        return false;
    if (!IsDescriptorTooLarge())
        return true;
    errno = EMFILE;
    return false;
}

unsigned int uSocket::ServerCreate(unsigned int port)
{
    m_isServer = true;
    if (!openDescriptor()) {
        getLastSockErr("Error starting socket");
        return ServerFailed;
    }
    linger const discard{1, 0};
    setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
    SetNoDelay(1);
    sockaddr_in const address = internetAddress(htonl(INADDR_ANY), port);
    if (bind(m_descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address) == -1) {
        getLastSockErr("Error binding socket");
        return ServerFailed;
    }
    m_localPort = m_remotePort = portOf(m_descriptor, getsockname);
    if (listen(m_descriptor, 1) == -1) {
        getLastSockErr("Error listening socket");
        return ServerFailed;
    }
    return Success;
}

unsigned int uSocket::ClientCreate(char const* host, unsigned int port)
{
    m_host = host;
    m_remotePort = port;
    m_isServer = false;
    if (!openDescriptor()) {
        getLastSockErr("Error opening socket");
        return InvalidArgument;
    }
    SetNoDelay(1);
    // The system tries three times more, after 1, 2 and 4 seconds, and gives up after another 8;
    // where the first repetitions come every second (Linux 6.5), 4 seconds later (tcp(7)).
    constexpr int repetitions = 3;
    setsockopt(m_descriptor, IPPROTO_TCP, TCP_SYNCNT, &repetitions, sizeof repetitions);
    if (connectTo(m_descriptor, internetAddress(inet_addr(host), port)) == -1) {
        getLastSockErr("Error on socket connect");
        return Failed;
    }
    m_localPort = portOf(m_descriptor, getsockname);
    // A peer that has reset the connection already has no name any more.
    if (unsigned int const peerPort = portOf(m_descriptor, getpeername); peerPort != 0)
        m_remotePort = peerPort;
    return Success;
}

uSocket* uSocket::AcceptClient()
{
    if (!m_isServer) {
        m_lastError = "AcceptClient() is only valid on server socket";
        return nullptr;
    }
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    auto accepted = std::make_unique<uSocket>();
    accepted->m_descriptor = aboveStandardStreams(uninterrupted([&] {
        return accept4(m_descriptor, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC);
    }));
    if (accepted->IsDescriptorTooLarge()) {
        accepted->Abort(); // no farewell, as Abort tells
        errno = EMFILE;
    }
    if (accepted->m_descriptor == -1) {
        getLastSockErr("Error accepting socket");
        return nullptr;
    }
    char host[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &peer.sin_addr, host, sizeof host);
    accepted->m_host = host;
    accepted->m_remotePort = ntohs(peer.sin_port);
    accepted->m_localPort = portOf(accepted->m_descriptor, getsockname);
    return accepted.release();
}

unsigned int uSocket::ReadData(unsigned char* buffer, unsigned int length, unsigned int offset,
                               unsigned int* count)
{
    if (buffer == nullptr) {
        m_lastError = "Data buffer is NULL";
        return InvalidArgument;
    }
    ssize_t const received = recv(m_descriptor, buffer + offset, length, 0);
    *count = static_cast<unsigned int>(received);
    if (received > 0)
        return Success;
    unsigned int const result =
        transferResult(received, "socket read error", "socket closed: read error");
    return received == 0 ? ConnectionLost : result;
}

unsigned int uSocket::WriteData(unsigned char const* buffer, unsigned int length,
                                unsigned int offset, unsigned int* count)
{
    *count = 0;
    if (buffer == nullptr) {
        m_lastError = "Data buffer is NULL";
        return InvalidArgument;
    }
    ssize_t const sent = send(m_descriptor, buffer + offset, length, 0);
    *count = static_cast<unsigned int>(sent);
    if (sent > 0)
        return Success;
    return transferResult(sent, "socket write error", "socket closed: write error");
}

KORVA_SELDOM unsigned int uSocket::transferResult(long transferred, char const* failed,
                                                  char const* closed)
{
    int const error = static_cast<int>(getLastSockErr(transferred == -1 ? failed : closed));
    return isConnectionLost(error) ? ConnectionLost : Failed;
}

unsigned int uSocket::SetNoDelay(int enable)
{
    int const value = enable != 0 ? 1 : 0;
    if (setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &value, sizeof value) == 0)
        return Success;
    getLastSockErr("Error setting TCP_NODELAY");
    return InvalidArgument;
}

unsigned int uSocket::GetReadDataAvailable() const
{
    int available = 0;
    if (ioctl(m_descriptor, FIONREAD, &available) == -1 || available < 0)
        return 0;
    return static_cast<unsigned int>(available);
}

void uSocket::Close()
{
    if (m_descriptor < 0)
        return;
    int const descriptor = std::exchange(m_descriptor, -1);
    shutdown(descriptor, SHUT_RDWR);
    close(descriptor);
}

void uSocket::Abort()
{
    if (m_descriptor >= 0)
        close(std::exchange(m_descriptor, -1));
}

unsigned int uSocket::getLastSockErr(char const* prefix)
{
    int const error = errno;
    m_lastError = std::string(prefix) + ": " + socketErrorText(error);
    errno = error;
    return static_cast<unsigned int>(error);
}

} // namespace KORVA
