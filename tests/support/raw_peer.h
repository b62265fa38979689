#pragma once

#include <string>

namespace testing_support {

/// A TCP socket that knows nothing of the library: what a foreign, broken or hostile peer would
/// use.
class RawPeer
{
public:
    /// Connects to 127.0.0.1:port, from the local address given.
    explicit RawPeer(unsigned int port, char const* from = "127.0.0.1");
    ~RawPeer();
    RawPeer(RawPeer&& other) noexcept;
    RawPeer(RawPeer const&) = delete;
    RawPeer& operator=(RawPeer const&) = delete;

    int descriptor() const { return m_descriptor; }
    unsigned int localPort() const;

    void send(std::string const& bytes);

    /// Exactly so many bytes, fewer only at the end of the stream.
    std::string receive(std::size_t length);

    /// True when the other side has closed or reset the connection; waits a while for it.
    bool seesEnd();

    void close(); ///< In good order.
    void reset(); ///< With a reset instead of a farewell.

private:
    friend class RawListener;
    struct Adopt
    {
        int descriptor;
    };
    explicit RawPeer(Adopt adopted) : m_descriptor(adopted.descriptor) {}

    int m_descriptor = -1;
};

/// Listens on a port of 127.0.0.1 that the system picks.
class RawListener
{
public:
    RawListener();
    ~RawListener();
    RawListener(RawListener const&) = delete;
    RawListener& operator=(RawListener const&) = delete;

    unsigned int port() const;
    RawPeer accept();

private:
    int m_descriptor;
};

/// A message header as it stands on the wire.
std::string header(unsigned int byteCount, unsigned int tag, unsigned int magic = 0xFACE0001,
                   unsigned int reserved = 0);

/// A whole message.
std::string message(std::string const& payload, unsigned int tag);

} // namespace testing_support
