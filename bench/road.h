/// The same messages on this machine over several roads. Each road has a server's end and a
/// client's, for one thread each or for a process each. An end that fails ends the program.
#pragma once

#include <memory>

namespace bench {

class End
{
public:
    End() = default;
    virtual ~End() = default;
    End(End const&) = delete;
    End& operator=(End const&) = delete;

    /// Where the client's end finds a server's.
    virtual unsigned int port() { return 0; }
    /// The tag of the message received, where the road carries one.
    virtual unsigned int receive(unsigned int* buffer, unsigned int size) = 0;
    /// A server's go to the client last received from.
    virtual void send(unsigned int tag, unsigned int* buffer, unsigned int length) = 0;
};

/// Makes an end: the client's of the server at the port, or, for port 0, a server's.
using Road = std::unique_ptr<End>(unsigned int port);

template <typename Server, typename Client = Server>
std::unique_ptr<End> makeEnd(unsigned int port)
{
    if (port == 0)
        return std::make_unique<Server>(port);
    return std::make_unique<Client>(port);
}

Road libraryRoad; ///< skylark_io.so's C functions
Road proxyRoad;   ///< skylark_io.so as an adapter library, driven through a proxy

/// A hand-written loop of the library's system calls on plain sockets with the library's options.
Road plainRoad;
/// The same, the header held back until the payload goes: one segment, and the peer wakes up once.
Road joinedRoad;

/// PAIR, the pattern that costs ZeroMQ least: one peer, no envelope and no tag.
Road zeromqRoad;
/// ROUTER and DEALER, which do what the library does: the server learns which client a message is
/// from and names the one that it answers, and a tag travels with each message.
Road zeromqRouterRoad;

/// nng's pair0, the pattern that costs it least, without a tag: with its synchronous calls.
Road nngRoad;
/// The same with asynchronous operations made once, and a receive that is always under way.
Road nngAioRoad;

} // namespace bench
