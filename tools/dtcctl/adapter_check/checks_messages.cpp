#include "tools/dtcctl/adapter_check/checks.h"

namespace dtcctl {
namespace {

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
        side.adapter.sendV2(client.handle(), 0, 3, buffer.words(), 8, nullptr);
    expect(status == DTC_IO_SUCCESS, gave(Entry::SendV2, status));
    client.awaitMessage(3, buffer, 8);
    side.peer.proceed();
}

void sendsOldWay(CheckSide& side)
{
    End client = openPeer(side);
    Buffer buffer(64);
    DTC_IO_STATUS const status = side.adapter.sendOld(client.handle(), 0, 3, buffer.words(), 8);
    expect(status == DTC_IO_SUCCESS, gave(Entry::Send, status));
    client.awaitMessage(3, buffer, 8);
    side.peer.proceed();
}

/// How many clients a server takes is its own affair; the others' messages are not.
[[noreturn]] void turnedAway(CheckSide& side, End& first, Buffer& buffer)
{
    std::string const why = quotedError(side.adapter);
    for (bool isDone = false; !isDone;) {
        Received const message = first.receive(buffer, 8, 0);
        isDone = message.status != DTC_IO_SUCCESS;
        expect(isDone || message.tag != 22, "the first client received the second one's reply");
    }
    skip("a second client is turned away, " + why);
}

void twoClientsExchange(CheckSide& side)
{
    End first = openPeer(side);
    first.exchange(1, 1);
    Buffer buffer = filled(64, 1, 0);
    void* handle = nullptr;
    if (side.adapter.open(side.subject.address.c_str(), side.subject.service.c_str(), &handle) !=
        DTC_IO_SUCCESS)
        turnedAway(side, first, buffer);
    End second(side, handle, false);
    first.send(0, 11, buffer, 1);
    if (second.trySend(0, 22, buffer, 1) != DTC_IO_SUCCESS)
        turnedAway(side, first, buffer);
    Received const reply = second.tryAwait(buffer, 8);
    if (reply.status != DTC_IO_SUCCESS)
        turnedAway(side, first, buffer);
    expect(reply.tag == 22,
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

} // namespace

std::vector<Check> checksOfMessages()
{
    return {
        exchanging("1 byte to 1 MiB and any tag pass unchanged and counted, both ways", {},
                   echoServer, exchangesSizes),
        exchanging("an empty message is refused or arrives empty, and the next one arrives", {},
                   receivesAfterEmpty, sendsEmpty),
        exchanging("the count of bytes sent may be left out with a null pointer", {Entry::SendV2},
                   echoServer, sendsUncounted),
        exchanging("the older DTC_IO_Send sends as well", {Entry::Send}, echoServer, sendsOldWay),
        exchanging("each of two clients receives its own reply", {}, echoServer,
                   twoClientsExchange),
        exchanging("a message too large for a server's buffer gives -2, and the next one arrives",
                   {}, serverDropsTooLarge, sendsTooLarge),
        exchanging("a message too large for a client's buffer gives -2, and the next one arrives",
                   {}, echoServer, clientDropsTooLarge),
    };
}

} // namespace dtcctl
