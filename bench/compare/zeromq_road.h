/// The messages' road through ZeroMQ. PAIR is the pattern that costs it least: no envelope, no turn
/// to keep, no table of peers. ZeroMQ sets TCP_NODELAY itself. Nothing is copied between its
/// messages and the caller's: it sends constant data straight from the buffer, and what it receives
/// stays where it put it. It carries no tag.
#pragma once

namespace bench {

class ZeromqEnd
{
public:
    ZeromqEnd();
    ~ZeromqEnd();
    ZeromqEnd(ZeromqEnd const&) = delete;
    ZeromqEnd& operator=(ZeromqEnd const&) = delete;

    void receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int const* buffer, unsigned int length);

protected:
    void* m_socket;

private:
    void* m_context;
};

class ZeromqServer : public ZeromqEnd
{
public:
    ZeromqServer();
    unsigned int port() const;
};

class ZeromqClient : public ZeromqEnd
{
public:
    explicit ZeromqClient(unsigned int port);
};

struct ZeromqRoad
{
    using Server = ZeromqServer;
    using Client = ZeromqClient;
};

} // namespace bench
