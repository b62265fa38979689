/// The messages' roads through nng's pair0, the pattern that costs it least: with its synchronous
/// calls, and with asynchronous operations made once and a receive that is always under way.
/// Nothing is copied between its messages and the caller's: a message that was received is the next
/// to be sent, if its length fits. nng sets TCP_NODELAY itself. It carries no tag.
#pragma once

#include <nng/nng.h>

namespace bench {

class NngEnd
{
public:
    NngEnd();
    ~NngEnd();
    NngEnd(NngEnd const&) = delete;
    NngEnd& operator=(NngEnd const&) = delete;

    void receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int const* buffer, unsigned int length);

protected:
    void keep(nng_msg* message, unsigned int size);
    nng_msg* messageOf(unsigned int length);

    nng_socket m_socket;

private:
    nng_msg* m_received = nullptr;
};

/// The same over asynchronous operations.
class NngAioEnd : public NngEnd
{
public:
    NngAioEnd();
    ~NngAioEnd();

    void receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int const* buffer, unsigned int length);

private:
    nng_aio* m_receiving = nullptr;
    nng_aio* m_sending = nullptr;
    bool m_isReceiving = false;
};

template <typename End>
class NngServer : public End
{
public:
    NngServer();
    unsigned int port() const;

private:
    nng_listener m_listener;
};

template <typename End>
class NngClient : public End
{
public:
    explicit NngClient(unsigned int port);
};

struct NngRoad
{
    using Server = NngServer<NngEnd>;
    using Client = NngClient<NngEnd>;
};

struct NngAioRoad
{
    using Server = NngServer<NngAioEnd>;
    using Client = NngClient<NngAioEnd>;
};

} // namespace bench
