#include "tools/dtcctl/adapter_check/checks.h"

#include <chrono>

namespace dtcctl {
namespace {

void noticesClientsEnd(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    Buffer buffer(64);
    unsigned int const client = server.awaitMessage(1, buffer, 8).clientId;
    server.send(client, 1, buffer, 1);
    side.peer.await();
    auto const end = std::chrono::steady_clock::now() + side.subject.limit / 2;
    Received seen = server.receive(buffer, 8, 50);
    while (seen.status == DTC_IO_TIMEOUT && std::chrono::steady_clock::now() < end)
        seen = server.receive(buffer, 8, 50);
    expect(seen.status == DTC_IO_DISCONNECTED, gave(Entry::Receive, seen.status));
    DTC_IO_STATUS const status = server.trySend(client, 1, buffer, 1);
    expect(status == DTC_IO_DISCONNECTED,
           "sending to the client that has gone gave " + std::to_string(status));
    side.peer.proceed();
}

void closes(CheckSide& side)
{
    End client = openPeer(side);
    client.exchange(1, 1);
    client.close();
    side.peer.proceed();
    side.peer.await();
}

void closesServer(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    server.echo();
    server.close();
    side.peer.proceed();
    side.peer.await();
}

void noticesServersEnd(CheckSide& side)
{
    End client = openPeer(side);
    client.exchange(1, 1);
    side.peer.proceed();
    side.peer.await();
    Buffer buffer(64);
    for (int call = 0; call < 2; ++call) { // it is gone for good
        Received const seen = client.await(buffer, 8);
        expect(seen.status == DTC_IO_DISCONNECTED, gave(Entry::Receive, seen.status));
    }
    side.peer.proceed();
}

void servesTwice(CheckSide& side)
{
    echoServer(side);
    echoServer(side);
}

/// Closed after the server, which gives up a service with a client on it.
void opensTwice(CheckSide& side)
{
    End first = openPeer(side);
    first.exchange(1, 1);
    side.peer.proceed();
    End second = openPeer(side);
    first.close();
    second.exchange(2, 2);
    side.peer.proceed();
}

} // namespace

std::vector<Check> checksOfClosing()
{
    return {
        exchanging("after its last client has closed a server gives -9, and so does sending to it",
                   {}, noticesClientsEnd, closes),
        exchanging("after its server has closed a client gives -9", {}, closesServer,
                   noticesServersEnd),
        exchanging("a service closed with a client on it can be created and opened again", {},
                   servesTwice, opensTwice),
    };
}

} // namespace dtcctl
