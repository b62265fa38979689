/// A blocking IPv4 TCP socket, in one of two roles: it listens and accepts, or it is connected.
///
/// Each operation makes one system call where the task allows it, reports a small result code and,
/// on failure, leaves the reason as text in the object. Only want of memory throws. Pointers must
/// not be null, where nothing else is said. One thread at a time may use a socket. Descriptors are
/// close-on-exec, and one too large for an fd_set is refused as if the process had run out of
/// descriptors, so every socket in use can be given to select(2). A signal ends none of the
/// operations but ReadData and WriteData, which then have moved nothing: result 4, errno EINTR. An
/// object is made a server or a client once; a second attempt closes what the first one left.
///
/// SIGPIPE is not handled here: a process that has not ignored it ends when it writes to a peer
/// that has gone.
#pragma once

#include "export.h"

#include <string>

namespace KORVA {

class KORVA_API uSocket
{
public:
    /// Result codes of the operations.
    enum Result : unsigned int {
        Success = 0,
        ServerFailed = 1,    ///< ServerCreate: no socket, port taken or not listening
        InvalidArgument = 2, ///< null buffer; ClientCreate: no socket; SetNoDelay: refused
        Failed = 4,          ///< ClientCreate: not connected; a read or write failed
        ConnectionLost = 5   ///< end of stream, or EPIPE, ECONNABORTED, ECONNRESET
    };

    uSocket() = default;
    virtual ~uSocket();
    uSocket(uSocket const&) = delete;
    uSocket& operator=(uSocket const&) = delete;

    /// Listens on the port (its low 16 bits; 0: one that the system picks) of all local addresses,
    /// with a backlog of 1. Closing this socket, or one it accepted, discards unsent data and
    /// resets the connection. 0, or 1 on failure; the descriptor of a failed attempt stays open
    /// until Close.
    unsigned int ServerCreate(unsigned int port);

    /// Connects to the dotted-decimal host (no name is looked up) and the port (its low 16 bits).
    /// Blocks for 15 to 20 seconds when nothing answers. 0; 2: there is no socket to be had; 4: not
    /// connected. The descriptor of a failed attempt stays open until Close.
    unsigned int ClientCreate(char const* host, unsigned int port);

    /// Blocks until a client connects to this listening socket. The new socket belongs to the
    /// caller; null on failure.
    [[nodiscard]] uSocket* AcceptClient();

    /// Receives at most length bytes into buffer + offset. Blocks until there is at least one byte,
    /// and never waits for more. *count receives what recv(2) returned: also 0 at the end of the
    /// stream (result 5), and 0xFFFFFFFF after a failure. A null buffer gives 2 and leaves *count
    /// alone. length: at least 1; 0 waits all the same until something has come, takes none of it
    /// and gives what a peer that has gone gives.
    unsigned int ReadData(unsigned char* buffer, unsigned int length, unsigned int offset,
                          unsigned int* count);

    /// Sends length bytes from buffer + offset. Blocks until the system has taken some of them;
    /// *count receives how many, which can be fewer than length, or 0xFFFFFFFF after a failure. A
    /// null buffer gives 2 and a *count of 0. length: at least 1; 0 is a failure, 4 or 5.
    unsigned int WriteData(unsigned char const* buffer, unsigned int length, unsigned int offset,
                           unsigned int* count);

    /// Sets (enable not 0) or clears TCP_NODELAY. 0, or 2 when the system refuses.
    unsigned int SetNoDelay(int enable);

    /// The bytes that can be read without blocking; 0 when the system cannot tell.
    unsigned int GetReadDataAvailable() const;

    /// Shuts the connection down and closes the descriptor. Once closed, it does nothing.
    void Close();

    /// Closes the descriptor without shutting the connection down first. On a socket that
    /// AcceptClient made this resets the connection: the peer sees no orderly end, and none of its
    /// answers to one can leave the server's port waiting in TIME_WAIT, where it could not be
    /// listened on for a minute.
    void Abort();

    /// Records prefix + ": " + the text of the current errno as the last error; returns that errno,
    /// and leaves it as it was: so it also tells why an operation failed.
    unsigned int getLastSockErr(char const* prefix);

    int GetDescriptor() const { return m_descriptor; } ///< -1 when closed or not yet open.

    /// Whether ServerCreate or ClientCreate failed because its descriptor cannot be given to
    /// select(2).
    bool IsDescriptorTooLarge() const;

    unsigned int GetLocalPort() const { return m_localPort; }

    /// A listening socket: its own port.
    unsigned int GetRemotePort() const { return m_remotePort; }

    /// The peer's address; "" when listening.
    char const* GetHost() const { return m_host.c_str(); }

    /// The text of the last failure, never cleared by a success; valid until the next failure.
    char const* GetLastErrorText() const { return m_lastError.c_str(); }

private:
    bool openDescriptor();
    unsigned int transferResult(long transferred, char const* failed, char const* closed);

    bool m_isServer = false;
    int m_descriptor = -1;
    unsigned int m_localPort = 0;
    unsigned int m_remotePort = 0;
    std::string m_host;
    std::string m_lastError;
};

} // namespace KORVA
