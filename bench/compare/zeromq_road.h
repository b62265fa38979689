/// The messages' roads through ZeroMQ. PAIR is the pattern that costs it least: one peer, no
/// envelope, no turn to keep, and no tag. ROUTER and DEALER do what the library does: the server
/// learns which of its clients a message is from and names the one that it answers, and a tag
/// travels with each message. Nothing is copied between its messages and the caller's: it sends
/// constant data straight from the buffer, and what it receives stays where it put it. ZeroMQ sets
/// TCP_NODELAY itself.
#pragma once

namespace bench {

class ZeromqEnd
{
public:
    ZeromqEnd(ZeromqEnd const&) = delete;
    ZeromqEnd& operator=(ZeromqEnd const&) = delete;

protected:
    explicit ZeromqEnd(int type);
    ~ZeromqEnd();

    /// The length of a part of a message.
    unsigned int receivePart(void* copy, unsigned int copied);
    void sendPart(void const* part, unsigned int length, bool isLast);

    void* m_socket;

private:
    void* m_context;
};

/// One end of a pair.
class ZeromqPair : public ZeromqEnd
{
public:
    ZeromqPair();

    void receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int const* buffer, unsigned int length);
};

/// A server of many clients.
class ZeromqRouter : public ZeromqEnd
{
public:
    ZeromqRouter();

    unsigned int receive(unsigned int* buffer, unsigned int size);
    /// To the client last received from.
    void send(unsigned int tag, unsigned int const* buffer, unsigned int length);

private:
    char m_client[256] = {}; ///< as long as an identity can be
    unsigned int m_clientLength = 0;
};

class ZeromqDealer : public ZeromqEnd
{
public:
    ZeromqDealer();

    unsigned int receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int const* buffer, unsigned int length);
};

template <typename End>
class ZeromqServer : public End
{
public:
    ZeromqServer();
    unsigned int port() const;
};

template <typename End>
class ZeromqClient : public End
{
public:
    explicit ZeromqClient(unsigned int port);
};

struct ZeromqRoad
{
    using Server = ZeromqServer<ZeromqPair>;
    using Client = ZeromqClient<ZeromqPair>;
};

struct ZeromqRouterRoad
{
    using Server = ZeromqServer<ZeromqRouter>;
    using Client = ZeromqClient<ZeromqDealer>;
};

} // namespace bench
