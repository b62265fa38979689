#include "tools/dtcctl_adapter_checks.h"

#include <thread>

namespace dtcctl {
namespace {

/// Serves as every serving program does, until the client is done.
void echoServer(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    server.echo();
    server.close();
}

/// The client's counterpart.
End openPeer(CheckSide& side)
{
    side.peer.await();
    return End::open(side);
}

void opens(CheckSide& side)
{
    openPeer(side);
    side.peer.proceed();
}

void clientHasIdAndState(CheckSide& side)
{
    End client = openPeer(side);
    checkIdAndState(side, client);
    side.peer.proceed();
}

void exchangesOne(CheckSide& side)
{
    End client = openPeer(side);
    client.exchange(42, 5);
    client.close();
    side.peer.proceed();
}

void clientWaits(CheckSide& side)
{
    End client = openPeer(side);
    checkTimeouts(client, false);
    side.peer.proceed();
}

void serverWaits(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    server.echo();
    checkTimeouts(server, false);
    side.peer.proceed();
}

/// Has been heard of, and keeps silent.
void keepsSilent(CheckSide& side)
{
    End client = openPeer(side);
    client.exchange(1, 1);
    side.peer.proceed();
    side.peer.await();
}

void waitsWithoutLimit(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    server.echo();
    side.peer.proceed();
    Buffer buffer(64);
    Received const message = server.receive(buffer, 8, DTC_IO_NO_TIME_LIMIT);
    expect(message.status == DTC_IO_SUCCESS, gave(Entry::Receive, message.status));
    side.peer.proceed();
}

void sendsLate(CheckSide& side)
{
    End client = openPeer(side);
    client.exchange(1, 1);
    side.peer.proceed();
    side.peer.await();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    Buffer buffer = filled(8, 8, 2);
    client.send(0, 2, buffer, 8);
    side.peer.await();
}

void readyLeavesTheMessage(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    server.echo();
    side.peer.proceed();
    DTC_IO_STATUS status = server.ready(static_cast<unsigned int>(side.subject.limit.count() / 2));
    expect(status == DTC_IO_SUCCESS, gave(Entry::ReceiveReady, status) + " with a message there");
    status = server.ready(0);
    expect(status == DTC_IO_SUCCESS, gave(Entry::ReceiveReady, status) + " when asked again");
    Buffer buffer(64);
    Received const message = server.receive(buffer, 8, 0);
    expect(message.status == DTC_IO_SUCCESS && message.tag == 2,
           gave(Entry::Receive, message.status) + " where DTC_IO_Receive_Ready had given 0");
    side.peer.proceed();
}

void sendsOne(CheckSide& side)
{
    End client = openPeer(side);
    client.exchange(1, 1);
    side.peer.proceed();
    side.peer.await();
    Buffer buffer = filled(8, 8, 2);
    client.send(0, 2, buffer, 8);
    side.peer.await();
}

void exchangesSizes(CheckSide& side)
{
    End client = openPeer(side);
    client.exchange(0, 1);
    client.exchange(0xFFFFFFFF, 3);
    client.exchange(0x80000001, 64U << 10);
    client.exchange(0x01020304, 1U << 20);
    side.peer.proceed();
}

void receivesAfterEmpty(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    Buffer buffer(64);
    Received message = server.await(buffer, 8);
    if (message.status == DTC_IO_SUCCESS && message.length == 0)
        message = server.await(buffer, 8);
    expect(message.status == DTC_IO_SUCCESS && message.length == 8 && message.tag == 2,
           gave(Entry::Receive, message.status) + " for the message after it");
    side.peer.proceed();
}

void sendsEmpty(CheckSide& side)
{
    End client = openPeer(side);
    Buffer buffer = filled(8, 8, 2);
    client.trySend(0, 1, buffer, 0);
    client.send(0, 2, buffer, 8);
    side.peer.await();
}

void sendsUncounted(CheckSide& side)
{
    End client = openPeer(side);
    Buffer buffer = filled(64, 8, 3);
    DTC_IO_STATUS const status =
        side.library.sendV2(client.handle(), 0, 3, buffer.words(), 8, nullptr);
    expect(status == DTC_IO_SUCCESS, gave(Entry::SendV2, status));
    client.awaitMessage(3, buffer, 8);
    side.peer.proceed();
}

void sendsOldWay(CheckSide& side)
{
    End client = openPeer(side);
    Buffer buffer(64);
    DTC_IO_STATUS const status = side.library.sendOld(client.handle(), 0, 3, buffer.words(), 8);
    expect(status == DTC_IO_SUCCESS, gave(Entry::Send, status));
    client.awaitMessage(3, buffer, 8);
    side.peer.proceed();
}

void twoClientsExchange(CheckSide& side)
{
    End first = openPeer(side);
    first.exchange(1, 1);
    void* handle = nullptr;
    if (side.library.open(side.subject.address.c_str(), side.subject.service.c_str(), &handle) !=
        DTC_IO_SUCCESS)
        skip("a second client is turned away, " + quotedError(side.library));
    End second(side, handle, false);
    Buffer buffer = filled(64, 1, 0);
    first.send(0, 11, buffer, 1);
    second.send(0, 22, buffer, 1);
    Received const reply = second.await(buffer, 8);
    if (reply.status == DTC_IO_DISCONNECTED)
        skip("a second client is turned away");
    expect(reply.status == DTC_IO_SUCCESS && reply.tag == 22,
           "the second client received tag " + std::to_string(reply.tag) + " instead of 22");
    first.awaitMessage(11, buffer, 8);
    side.peer.proceed();
}

void expectTooLarge(Received const& message)
{
    expect(message.status == DTC_IO_INVALID,
           gave(Entry::Receive, message.status) + " for 100 bytes in a buffer of 64");
}

void serverDropsTooLarge(CheckSide& side)
{
    End server = End::serve(side);
    side.peer.proceed();
    Buffer buffer(128);
    expectTooLarge(server.await(buffer, 64));
    Received const next = server.awaitMessage(2, buffer, 64);
    expect(next.length == 8 && isFilled(buffer, 8, 2), "the next message came changed");
    side.peer.proceed();
}

void sendsTooLarge(CheckSide& side)
{
    End client = openPeer(side);
    Buffer buffer = filled(100, 100, 1);
    client.send(0, 1, buffer, 100);
    fill(buffer, 8, 2);
    client.send(0, 2, buffer, 8);
    side.peer.await();
}

void clientDropsTooLarge(CheckSide& side)
{
    End client = openPeer(side);
    Buffer buffer = filled(128, 100, 1);
    client.send(0, 1, buffer, 100);
    expectTooLarge(client.await(buffer, 64));
    client.exchange(2, 8);
    side.peer.proceed();
}

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
    Received const seen = client.await(buffer, 8);
    expect(seen.status == DTC_IO_DISCONNECTED, gave(Entry::Receive, seen.status));
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

std::vector<Check> checksWithPeer()
{
    Stage const serves = Stage::Serves;
    Stage const connects = Stage::Connects;
    Stage const exchanges = Stage::Exchanges;
    return {
        {"opening a served address gives a handle",
         serves,
         connects,
         {Entry::Open},
         echoServer,
         opens},
        {"a client has a local id and stores its state",
         connects,
         connects,
         {Entry::LocalId, Entry::GetState},
         echoServer,
         clientHasIdAndState},
        {"a message arrives, and the reply reaches the client that receiving named",
         connects,
         exchanges,
         {},
         echoServer,
         exchangesOne},
        {"a client waits as long as its time-out, then -8",
         exchanges,
         exchanges,
         {Entry::ReceiveReady},
         echoServer,
         clientWaits},
        {"a server with a client waits as long as its time-out, then -8",
         exchanges,
         exchanges,
         {Entry::ReceiveReady},
         serverWaits,
         keepsSilent},
        {"a time-out of 0xFFFFFFFF waits without limit",
         exchanges,
         exchanges,
         {},
         waitsWithoutLimit,
         sendsLate},
        {"a message found ready stays to be received",
         exchanges,
         exchanges,
         {Entry::ReceiveReady},
         readyLeavesTheMessage,
         sendsOne},
        {"1 byte to 1 MiB and any tag pass unchanged and counted, both ways",
         exchanges,
         exchanges,
         {},
         echoServer,
         exchangesSizes},
        {"an empty message is refused or arrives empty, and the next one arrives",
         exchanges,
         exchanges,
         {},
         receivesAfterEmpty,
         sendsEmpty},
        {"the count of bytes sent may be left out with a null pointer",
         exchanges,
         exchanges,
         {Entry::SendV2},
         echoServer,
         sendsUncounted},
        {"the older DTC_IO_Send sends as well",
         exchanges,
         exchanges,
         {Entry::Send},
         echoServer,
         sendsOldWay},
        {"each of two clients receives its own reply",
         exchanges,
         exchanges,
         {},
         echoServer,
         twoClientsExchange},
        {"a message too large for a server's buffer gives -2, and the next one arrives",
         exchanges,
         exchanges,
         {},
         serverDropsTooLarge,
         sendsTooLarge},
        {"a message too large for a client's buffer gives -2, and the next one arrives",
         exchanges,
         exchanges,
         {},
         echoServer,
         clientDropsTooLarge},
        {"after its last client has closed a server gives -9, and so does sending to it",
         exchanges,
         exchanges,
         {},
         noticesClientsEnd,
         closes},
        {"after its server has closed a client gives -9",
         exchanges,
         exchanges,
         {},
         closesServer,
         noticesServersEnd},
        {"a service closed with a client on it can be created and opened again",
         exchanges,
         exchanges,
         {},
         servesTwice,
         opensTwice},
    };
}

} // namespace dtcctl
