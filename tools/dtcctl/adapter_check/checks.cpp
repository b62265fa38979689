#include "tools/dtcctl/adapter_check/checks.h"

#include <filesystem>
#include <fstream>
#include <thread>

namespace dtcctl {
namespace {

using Clock = std::chrono::steady_clock;

void versionIsFixed(CheckSide& side)
{
    char const* const version = side.adapter.call<Entry::GetVersion>();
    if (version == nullptr)
        fail("DTC_Get_Version gave null");
    expect(*version != '\0', "DTC_Get_Version gave an empty text");
    std::string const first = version;
    char const* const again = side.adapter.call<Entry::GetVersion>();
    expect(again != nullptr && again == first && version == first, "it has changed");
}

void errorIsNeverNull(CheckSide& side)
{
    expect(side.adapter.call<Entry::GetError>() != nullptr, "DTC_Get_Error gave null");
}

void expectFailure(CheckSide& side, Entry entry, DTC_IO_STATUS status)
{
    expect(status == DTC_IO_NO_CONNECTION, gave(entry, status));
    char const* const text = side.adapter.call<Entry::GetError>();
    expect(text != nullptr && *text != '\0', gave(entry, status) + " and no error text");
}

DTC_IO_STATUS createUnknown(CheckSide& side)
{
    void* handle = nullptr;
    return side.adapter.create("no such service", &handle);
}

void unknownServiceFails(CheckSide& side)
{
    expectFailure(side, Entry::Create, createUnknown(side));
}

void openWithoutServerFails(CheckSide& side)
{
    Subject const& subject = side.subject;
    void* handle = nullptr;
    DTC_IO_STATUS const status = side.open(&handle);
    if (status != DTC_IO_SUCCESS)
        return expectFailure(side, Entry::Open, status);
    side.adapter.call<Entry::Close>(handle);
    bool const isFree = side.adapter.create(subject.service.c_str(), &handle) == DTC_IO_SUCCESS;
    if (!isFree)
        skip("somebody seems to serve " + subject.service + " at " + subject.address + " already");
    fail(gave(Entry::Open, status));
}

void errorStaysReadable(CheckSide& side)
{
    AdapterLibrary& adapter = side.adapter;
    if (createUnknown(side) == DTC_IO_SUCCESS)
        skip("DTC_IO_Create does not fail");
    char const* const text = adapter.call<Entry::GetError>();
    if (text == nullptr)
        fail("DTC_Get_Error gave null");
    std::string const copy = text;
    if (adapter.has(Entry::GetVersion))
        adapter.call<Entry::GetVersion>();
    if (adapter.has(Entry::GetStatus))
        adapter.call<Entry::GetStatus>();
    char const* const again = adapter.call<Entry::GetError>();
    expect(again != nullptr && copy == again && copy == text,
           "it was \"" + copy + "\" and has changed without a failure");
}

/// A library that says no may have its reasons here: the service taken, no device.
void createGivesHandle(CheckSide& side)
{
    void* handle = nullptr;
    DTC_IO_STATUS const status = side.adapter.create(side.subject.service.c_str(), &handle);
    if (status != DTC_IO_SUCCESS)
        skip("it cannot serve " + side.subject.service + " here, " + gave(Entry::Create, status) +
             ", " + side.quotedError());
    expect(handle != nullptr, "DTC_IO_Create gave 0 and a null handle");
}

void serviceIsFreeAfterClose(CheckSide& side)
{
    End::serve(side).close();
    End::serve(side).close();
}

/// Used before, because what a library starts at first use may keep it in the process.
void unloadingUnloads(CheckSide& side)
{
    AdapterLibrary& adapter = side.adapter;
    if (side.subject.isOwnLibrary)
        skip("dtcctl itself uses this file");
    void* handle = nullptr;
    bool const canServe = adapter.has(Entry::Create) && adapter.has(Entry::Close);
    if (canServe && adapter.create(side.subject.service.c_str(), &handle) == DTC_IO_SUCCESS)
        adapter.call<Entry::Close>(handle);
    std::string const path = adapter.path();
    expect(adapter.unload(), "the dynamic loader says: " + adapter.error());
    if (isMapped(path))
        throw Finding{Result::Warning, "its file stays mapped: linked with -z nodelete, unique "
                                       "symbols, or thread-local data with a destructor"};
}

void checkTimeout(End& end, Entry entry, unsigned int timeoutMs, bool mayBeAlone)
{
    auto const limit = static_cast<long>(timeoutMs);
    std::string const wanted = " with a time-out of " + std::to_string(timeoutMs) + " ms";
    long tookMs = 0;
    bool isInTime = false;
    for (int trial = 0; trial < 3 && !isInTime; ++trial) { // a machine can be busy now and then
        auto const begin = Clock::now();
        DTC_IO_STATUS const status =
            entry == Entry::ReceiveReady ? end.ready(timeoutMs) : end.receive(64, timeoutMs).status;
        tookMs = static_cast<long>((Clock::now() - begin) / std::chrono::milliseconds(1));
        bool const isAlone = mayBeAlone && status == DTC_IO_DISCONNECTED;
        expect(status == DTC_IO_TIMEOUT || isAlone, gave(entry, status) + wanted);
        // Room for a scheduler that is busy elsewhere, and for a clock of coarse ticks.
        isInTime = tookMs <= limit + 250 && (isAlone || tookMs >= limit - limit / 10);
    }
    expect(isInTime,
           std::string(nameOf(entry)) + " took " + std::to_string(tookMs) + " ms" + wanted);
}

void checkIdAndState(End& end)
{
    AdapterLibrary& adapter = end.side().adapter;
    unsigned int ids[] = {0x5A5A5A5A, 0xA5A5A5A5};
    for (unsigned int& id : ids) {
        DTC_IO_STATUS const status = adapter.call<Entry::LocalId>(end.handle(), &id);
        expect(status == DTC_IO_SUCCESS, gave(Entry::LocalId, status));
    }
    expect(ids[0] == ids[1], "DTC_IO_Local_Id gave 0 and stored nothing, or another id each time");
    char marks[2];
    DTC_IO_LOADERIF* states[] = {reinterpret_cast<DTC_IO_LOADERIF*>(&marks[0]),
                                 reinterpret_cast<DTC_IO_LOADERIF*>(&marks[1])};
    for (DTC_IO_LOADERIF*& state : states) {
        DTC_IO_STATUS const status = adapter.call<Entry::GetState>(end.handle(), &state);
        expect(status == DTC_IO_SUCCESS, gave(Entry::GetState, status));
    }
    expect(states[0] == states[1],
           "DTC_IO_Get_State gave 0 and stored nothing, or another record each time");
}

void checkTimeouts(End& end, bool mayBeAlone)
{
    for (Entry const entry : {Entry::ReceiveReady, Entry::Receive}) {
        for (unsigned int const timeoutMs : {0U, 200U})
            checkTimeout(end, entry, timeoutMs, mayBeAlone);
    }
}

/// What one side of a check does with its end of the connection.
using Body = void (*)(End&);

void doesNothing(End& /*end*/) {}

void exchangesOne(End& client)
{
    client.exchange(42, 5);
    client.close();
}

void waitsForClients(End& server)
{
    checkTimeouts(server, true);
}

void waitsAsLong(End& end)
{
    checkTimeouts(end, false);
}

void receivesAtLast(End& server)
{
    Received const message = server.receive(8, DTC_IO_NO_TIME_LIMIT);
    expect(message.status == DTC_IO_SUCCESS, gave(Entry::Receive, message.status));
}

void sendsOne(End& client)
{
    client.fill(8, 2);
    client.send(0, 2, 8);
}

void sendsLate(End& client)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    sendsOne(client);
}

void leavesTheMessage(End& server)
{
    auto const timeoutMs = static_cast<unsigned int>(server.side().subject.limit.count() / 2);
    DTC_IO_STATUS status = server.ready(timeoutMs);
    expect(status == DTC_IO_SUCCESS, gave(Entry::ReceiveReady, status) + " with a message there");
    status = server.ready(0);
    expect(status == DTC_IO_SUCCESS, gave(Entry::ReceiveReady, status) + " when asked again");
    Received const message = server.receive(8, 0);
    expect(message.status == DTC_IO_SUCCESS && message.tag == 2,
           gave(Entry::Receive, message.status) + " where DTC_IO_Receive_Ready had given 0");
}

void exchangesSizes(End& client)
{
    client.exchange(0, 1);
    client.exchange(0xFFFFFFFF, 3);
    client.exchange(0x80000001, 64U << 10);
    client.exchange(0x01020304, 1U << 20);
}

void receivesAfterEmpty(End& server)
{
    Received message = server.await(8);
    if (message.status == DTC_IO_SUCCESS && message.length == 0)
        message = server.await(8);
    expect(message.status == DTC_IO_SUCCESS && message.length == 8 && message.tag == 2,
           gave(Entry::Receive, message.status) + " for the message after it");
}

void sendsEmpty(End& client)
{
    client.trySend(0, 1, 0);
    sendsOne(client);
}

void sendsUncounted(End& client)
{
    client.fill(8, 3);
    DTC_IO_STATUS const status = client.side().adapter.call<Entry::SendV2>(
        client.handle(), 0U, 3U, client.words(), 8U, nullptr);
    expect(status == DTC_IO_SUCCESS, gave(Entry::SendV2, status));
    client.awaitMessage(3, 8);
}

void sendsOldWay(End& client)
{
    client.fill(8, 3);
    DTC_IO_STATUS const status =
        client.side().adapter.call<Entry::Send>(client.handle(), 0U, 3U, client.words(), 8U);
    expect(status == DTC_IO_SUCCESS, gave(Entry::Send, status));
    client.awaitMessage(3, 8);
}

/// How many clients a server takes is its own affair; the others' messages are not.
[[noreturn]] void turnedAway(End& first)
{
    std::string const why = first.side().quotedError();
    for (bool isDone = false; !isDone;) {
        Received const message = first.receive(8, 0);
        isDone = message.status != DTC_IO_SUCCESS;
        expect(isDone || message.tag != 22, "the first client received the second one's reply");
    }
    skip("a second client is turned away, " + why);
}

void twoClientsExchange(End& first)
{
    first.exchange(1, 1);
    void* handle = nullptr;
    if (first.side().open(&handle) != DTC_IO_SUCCESS)
        turnedAway(first);
    End second(first.side(), handle, false);
    first.send(0, 11, 1);
    if (second.trySend(0, 22, 1) != DTC_IO_SUCCESS)
        turnedAway(first);
    Received const reply = second.tryAwait(8);
    if (reply.status != DTC_IO_SUCCESS)
        turnedAway(first);
    expect(reply.tag == 22,
           "the second client received tag " + std::to_string(reply.tag) + " instead of 22");
    first.awaitMessage(11, 8);
}

void expectTooLarge(Received const& message)
{
    expect(message.status == DTC_IO_INVALID,
           gave(Entry::Receive, message.status) + " for 100 bytes in a buffer of 64");
}

void serverDropsTooLarge(End& server)
{
    expectTooLarge(server.await(64));
    Received const next = server.awaitMessage(2, 64);
    expect(next.length == 8 && server.isFilled(8, 2), "the next message came changed");
}

void sendsTooLarge(End& client)
{
    client.fill(100, 1);
    client.send(0, 1, 100);
    sendsOne(client);
}

void clientDropsTooLarge(End& client)
{
    client.fill(100, 1);
    client.send(0, 1, 100);
    expectTooLarge(client.await(64));
    client.exchange(2, 8);
}

void noticesClientsEnd(End& server)
{
    unsigned int const client = server.awaitMessage(2, 8).clientId;
    server.send(client, 2, 1);
    server.peer().await();
    auto const end = Clock::now() + server.side().subject.limit / 2;
    Received seen = server.receive(8, 50);
    while (seen.status == DTC_IO_TIMEOUT && Clock::now() < end)
        seen = server.receive(8, 50);
    expect(seen.status == DTC_IO_DISCONNECTED, gave(Entry::Receive, seen.status));
    DTC_IO_STATUS const status = server.trySend(client, 1, 1);
    expect(status == DTC_IO_DISCONNECTED,
           "sending to the client that has gone gave " + std::to_string(status));
}

void closes(End& client)
{
    client.exchange(2, 1);
    client.close();
    client.peer().proceed();
}

void closesServer(End& server)
{
    server.close();
    server.peer().proceed();
    server.peer().await();
}

void noticesServersEnd(End& client)
{
    client.peer().await();
    for (int call = 0; call < 2; ++call) { // it is gone for good
        Received const seen = client.await(8);
        expect(seen.status == DTC_IO_DISCONNECTED, gave(Entry::Receive, seen.status));
    }
    client.peer().proceed();
}

void servesAgain(End& server)
{
    server.close();
    server = End::serve(server.side());
    server.peer().proceed();
    server.echo();
    server.close();
}

/// Closed after the server, which gives up a service with a client on it.
void opensAgain(End& first)
{
    first.peer().await();
    End second = End::open(first.side());
    first.close();
    second.exchange(2, 2);
    first.peer().proceed();
}

/// A check that leaves the library as far as it was.
Check alone(char const* rule, Stage stage, void (*side)(CheckSide&))
{
    return {rule, stage, stage, side};
}

/// What a server does without a client.
Check serving(char const* rule, Body server)
{
    auto const serve = [server](CheckSide& side) {
        End end = End::serve(side);
        server(end);
    };
    return {rule, Stage::Serves, Stage::Serves, serve};
}

/// What a client does with a server that serves as every serving program does, until it is done.
Check echoed(char const* rule, Stage needs, Stage shows, Body client)
{
    auto const serve = [](CheckSide& side) {
        End server = End::serve(side);
        side.peer.proceed();
        server.echo();
        server.close();
    };
    auto const open = [client](CheckSide& side) {
        side.peer.await();
        End end = End::open(side);
        client(end);
        side.peer.proceed();
    };
    return {rule, needs, shows, serve, open};
}

Check echoed(char const* rule, Body client)
{
    return echoed(rule, Stage::Exchanges, Stage::Exchanges, client);
}

Check askedOf(Entry optional, Check check)
{
    check.optional = optional;
    return check;
}

/// What the two do once they have heard of each other; the server ends first.
Check between(char const* rule, Body server, Body client)
{
    auto const serve = [server](CheckSide& side) {
        End end = End::serve(side);
        side.peer.proceed();
        end.echo();
        side.peer.proceed();
        server(end);
        side.peer.proceed();
    };
    auto const open = [client](CheckSide& side) {
        side.peer.await();
        End end = End::open(side);
        end.exchange(1, 1);
        side.peer.proceed();
        side.peer.await();
        client(end);
        side.peer.await();
    };
    return {rule, Stage::Exchanges, Stage::Exchanges, serve, open};
}
} // namespace

std::vector<Check> adapterChecks()
{
    Stage const loaded = Stage::Loaded;
    Stage const serves = Stage::Serves;
    Stage const connects = Stage::Connects;
    return {
        alone("the version is a fixed text that names the adapter", loaded, versionIsFixed),
        alone("the error text is never null, before the first failure too", loaded,
              errorIsNeverNull),
        alone("creating an unknown service fails with -1 and an error text", loaded,
              unknownServiceFails),
        alone("opening where nobody serves fails with -1 and an error text", loaded,
              openWithoutServerFails),
        alone("an error text stays as it is until the next failure", loaded, errorStaysReadable),
        alone("its unloading removes it from the process", loaded, unloadingUnloads),
        {"creating a service gives a handle", loaded, serves, createGivesHandle},
        serving("a server has a local id and stores its state", checkIdAndState),
        serving("a server without clients waits no longer than its time-out, then -8 or -9",
                waitsForClients),
        alone("a service can be created again after its close", serves, serviceIsFreeAfterClose),
        echoed("opening a served address gives a handle", Stage::Serves, connects, doesNothing),
        echoed("a client has a local id and stores its state", connects, connects, checkIdAndState),
        echoed("a message arrives, and the reply reaches the client that receiving named", connects,
               Stage::Exchanges, exchangesOne),
        echoed("a client waits as long as its time-out, then -8", waitsAsLong),
        between("a server with a client waits as long as its time-out, then -8", waitsAsLong,
                doesNothing),
        between("a time-out of 0xFFFFFFFF waits without limit", receivesAtLast, sendsLate),
        between("a message found ready stays to be received", leavesTheMessage, sendsOne),
        echoed("1 byte to 1 MiB and any tag pass unchanged and counted, both ways", exchangesSizes),
        between("an empty message is refused or arrives empty, and the next one arrives",
                receivesAfterEmpty, sendsEmpty),
        echoed("the count of bytes sent may be left out with a null pointer", sendsUncounted),
        askedOf(Entry::Send, echoed("the older DTC_IO_Send sends as well", sendsOldWay)),
        echoed("each of two clients receives its own reply", twoClientsExchange),
        between("a message too large for a server's buffer gives -2, and the next one arrives",
                serverDropsTooLarge, sendsTooLarge),
        echoed("a message too large for a client's buffer gives -2, and the next one arrives",
               clientDropsTooLarge),
        between("after its last client has closed a server gives -9, and so does sending to it",
                noticesClientsEnd, closes),
        between("after its server has closed a client gives -9", closesServer, noticesServersEnd),
        between("a service closed with a client on it can be created and opened again", servesAgain,
                opensAgain),
    };
}

bool isMapped(std::string const& path)
{
    std::error_code error;
    std::string const ending = " " + std::filesystem::canonical(path, error).string();
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        bool const mayEndSo = !error && line.size() > ending.size();
        if (mayEndSo && line.compare(line.size() - ending.size(), ending.size(), ending) == 0)
            return true;
    }
    return false;
}

} // namespace dtcctl
