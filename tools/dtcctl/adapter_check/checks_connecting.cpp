#include "tools/dtcctl/adapter_check/checks.h"

#include <thread>

namespace dtcctl {
namespace {

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

} // namespace

std::vector<Check> checksOfConnecting()
{
    return {
        {"opening a served address gives a handle",
         Stage::Serves,
         Stage::Connects,
         {Entry::Open},
         echoServer,
         opens},
        {"a client has a local id and stores its state",
         Stage::Connects,
         Stage::Connects,
         {Entry::LocalId, Entry::GetState},
         echoServer,
         clientHasIdAndState},
        {"a message arrives, and the reply reaches the client that receiving named",
         Stage::Connects,
         Stage::Exchanges,
         {},
         echoServer,
         exchangesOne},
        exchanging("a client waits as long as its time-out, then -8", {Entry::ReceiveReady},
                   echoServer, clientWaits),
        exchanging("a server with a client waits as long as its time-out, then -8",
                   {Entry::ReceiveReady}, serverWaits, keepsSilent),
        exchanging("a time-out of 0xFFFFFFFF waits without limit", {}, waitsWithoutLimit,
                   sendsLate),
        exchanging("a message found ready stays to be received", {Entry::ReceiveReady},
                   readyLeavesTheMessage, sendsOne),
    };
}

} // namespace dtcctl
