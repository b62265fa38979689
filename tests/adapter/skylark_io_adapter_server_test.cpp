#include "tests/adapter/server_fixture.h"

#include <ctime>
#include <future>
#include <netinet/in.h>
#include <netinet/tcp.h>

using namespace testing_support;
using KORVA::DTC::Call;
using testing::ElementsAre;

namespace {

constexpr std::clock_t processorMs = CLOCKS_PER_SEC / 1000;

/// From now on, and for so long, the process can open no descriptor.
std::thread takeDescriptorsFor(std::chrono::milliseconds duration)
{
    std::atomic<bool> areTaken{false};
    std::thread filler([duration, &areTaken] {
        NoMoreDescriptors const none;
        areTaken = true;
        std::this_thread::sleep_for(duration);
    });
    while (!areTaken)
        std::this_thread::yield();
    return filler;
}

TEST_F(ServerTest, ServesEightClientsTheLowestReadyPlaceFirst)
{
    for (int i = 0; i < 8; ++i)
        join();
    for (bool const admits : {false, true}) {
        server.admits = admits;
        EXPECT_TRUE(join().seesEnd());
        peers.pop_back();
    }
    for (auto peer = peers.rbegin(); peer != peers.rend(); ++peer)
        peer->send(message("x", 1));
    for (RawPeer const& peer : peers) {
        while (server.bytesFrom(peer.localPort()) == 0)
            std::this_thread::yield();
    }
    for (RawPeer const& peer : peers)
        EXPECT_EQ(receive().clientId, peer.localPort());
    EXPECT_THAT(server.events, ElementsAre("127.0.0.1"))
        << "neither the ninth nor another is first";
    server.whenAsked = [this, id = peers.front().localPort()] { // just now a send finds one gone
        peers.front().reset();
        while (sendTo(server, id, 1, "x") == DTC_IO_SUCCESS) {
        }
    };
    EXPECT_TRUE(join().seesEnd()) << "its slot is not free yet";
}

// A client that is turned away and closes at once must not leave the server's port in TIME_WAIT: a
// program that serves it anew could not listen for a minute.
TEST_F(ServerTest, LeavesItsPortFreeHoweverQuicklyRefusedClientsClose)
{
    for (int const firstDescriptor : {0, FD_SETSIZE}) {
        auto refusing = std::make_unique<TestServer>();
        unsigned int const port = refusing->port();
        refusing->admits = false;
        {
            DescriptorsBelow const taken(firstDescriptor);
            std::atomic<bool> done{false};
            std::thread accepting([&] {
                while (!done)
                    refusing->receive_ready(1);
            });
            for (int i = 0; i < 300; ++i)
                EXPECT_TRUE(RawPeer(port).seesEnd());
            done = true;
            accepting.join();
        }
        EXPECT_EQ(refusing->asked, firstDescriptor == 0 ? 300 : 0);
        refusing.reset();
        EXPECT_NO_THROW(TestServer{port});
    }
}

// A send that finds its client gone only marks the place; the wait that follows clears it, tells
// the policy and makes it free for another client.
TEST_F(ServerTest, TellsATimeOutFromHavingNoClientAndClearsOneThatASendFoundGone)
{
    EXPECT_EQ(server.receive_ready(0), DTC_IO_DISCONNECTED);
    EXPECT_EQ(receive(0).status, DTC_IO_DISCONNECTED);
    unsigned int const id = join().localPort();
    EXPECT_EQ(server.optionOf(id, SOL_SOCKET, SO_KEEPALIVE), 1) << "silent clients are noticed";
    EXPECT_EQ(server.optionOf(id, IPPROTO_TCP, TCP_KEEPIDLE), 15);
    EXPECT_EQ(server.optionOf(id, IPPROTO_TCP, TCP_KEEPINTVL), 5);
    EXPECT_EQ(server.optionOf(id, IPPROTO_TCP, TCP_KEEPCNT), 3);
    EXPECT_EQ(server.receive_ready(0), DTC_IO_TIMEOUT);
    EXPECT_EQ(receive(1).status, DTC_IO_TIMEOUT);
    EXPECT_STREQ(server.get_error(), "") << "a server's waits set no text";
    peers.front().reset();
    unsigned int sent = 99;
    while (sendTo(server, id, 1, "x", &sent) == DTC_IO_SUCCESS)
        sent = 99;
    EXPECT_EQ(sent, 99U);
    EXPECT_STREQ(server.get_error(), "Client has disconnected");
    EXPECT_EQ(sendTo(server, id, 1, "x"), DTC_IO_DISCONNECTED);
    EXPECT_THAT(server.events, ElementsAre("127.0.0.1"));
    EXPECT_EQ(server.receive_ready(0), DTC_IO_DISCONNECTED);
    EXPECT_THAT(server.events, ElementsAre("127.0.0.1", "none"));
    for (int i = 0; i < 8; ++i)
        join();
    peers.back().send(message("x", 1));
    EXPECT_EQ(receive().status, DTC_IO_SUCCESS);
}

TEST_F(ServerTest, GivesItsPlacesInTurn)
{
    for (int i = 0; i < 8; ++i)
        join();
    RawPeer& stays = *std::next(peers.begin(), 6);
    auto const leave = [&](auto peer) {
        peers.erase(peer);
        stays.send(message("last", 1));
        EXPECT_EQ(receive().payload, "last") << "places below it are looked at first";
    };
    leave(peers.begin());
    join(); // in the first place
    leave(std::next(peers.begin(), 1));
    leave(std::prev(peers.end()));
    for (char const* const text : {"third place", "first place"})
        join().send(message(text, 1));
    for (auto peer = std::prev(peers.end(), 2); peer != peers.end(); ++peer) {
        while (server.bytesFrom(peer->localPort()) == 0)
            std::this_thread::yield();
    }
    EXPECT_EQ(receive().payload, "first place");
    EXPECT_EQ(receive().payload, "third place");
    leave(std::prev(peers.end()));
    join().send(message("the only one left", 1));
    EXPECT_EQ(receive().payload, "the only one left");
}

// Nobody has gone: what the policy has recorded stays as it is.
TEST_F(ServerTest, TellsTheThreadInAMessageThatItIsClosed)
{
    RawPeer& peer = join();
    auto waits = std::async(std::launch::async, waiting);
    std::string text = message(std::string(16 << 20, 'x'), 1);
    text.pop_back();
    peer.send(text); // more than a socket takes in, so the thread has begun to read it
    server.endCalls();
    EXPECT_EQ(waits.get(), DTC_IO_DISCONNECTED);
    EXPECT_STREQ(server.get_error(), "Connection has been closed");
    EXPECT_EQ(sendTo(server, peer.localPort(), 1, "x"), DTC_IO_DISCONNECTED);
    EXPECT_THAT(server.events, ElementsAre("127.0.0.1"));
}

// Its end wakes the threads inside its calls through the sockets of its clients.
TEST_F(ServerTest, LeavesSocketsAloneThatHaveTakenTheNumbersOfClientsThatLeft)
{
    TestServer other;
    join();
    peers.clear();
    EXPECT_EQ(receive().status, DTC_IO_DISCONNECTED);
    RawPeer peer(other.port());
    other.acceptOne();
    auto waits = std::async(std::launch::async, waiting);
    while (!Call::isUnderWay(&server))
        std::this_thread::yield();
    server.endCalls();
    EXPECT_EQ(waits.get(), DTC_IO_DISCONNECTED);
    EXPECT_EQ(other.receive_ready(0), DTC_IO_TIMEOUT) << "not at its end";
    EXPECT_FALSE(peer.hasBytes());
}

TEST_F(ServerTest, GoesOnWithTheOthersWhenAClientLeaves)
{
    join();
    RawPeer& stays = join();
    peers.pop_front();
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        stays.send(message("late", 1));
    });
    EXPECT_EQ(server.receive_ready(patienceMs), DTC_IO_SUCCESS) << "something to read: its end";
    std::clock_t const before = std::clock();
    EXPECT_EQ(receive(0).payload, "late")
        << "once a client has left, the call waits for the others";
    EXPECT_LT(std::clock() - before, 50 * processorMs);
    later.join();
    RawPeer& next = join(); // slots are taken in turn: it comes behind the one that stays
    next.send(message("second", 1));
    stays.send(message("first", 1));
    while (server.bytesFrom(next.localPort()) == 0 || server.bytesFrom(stays.localPort()) == 0)
        std::this_thread::yield();
    EXPECT_EQ(receive().payload, "first");
    EXPECT_EQ(receive().payload, "second");
    peers.emplace_back(server.port()).close();
    SignalStorm const storm;
    EXPECT_EQ(receive(1).status, DTC_IO_TIMEOUT) << "a signal ends even that wait";
}

// While one thread waits, another sends; while several wait for the same client, only one message
// is there, or only its end: no wait may take that for its own.
TEST_F(ServerTest, ServesSeveralThreadsAtOnce)
{
    RawPeer& peer = join();
    auto const echo = [&] {
        for (;;) {
            Incoming const incoming = receive();
            EXPECT_EQ(incoming.status, DTC_IO_SUCCESS);
            if (incoming.status != DTC_IO_SUCCESS || incoming.payload == "stop")
                return;
            EXPECT_EQ(sendTo(server, incoming.clientId, incoming.tag, incoming.payload), 0);
        }
    };
    std::list<std::future<void>> threads;
    while (threads.size() < 8)
        threads.push_back(std::async(std::launch::async, echo));
    for (unsigned int i = 0; i < 1000; ++i) {
        RawPeer passing(server.port());
        for (RawPeer* const pings : {&peer, &passing}) {
            pings->send(message("ping", i));
            ASSERT_EQ(pings->receive(20), message("ping", i));
        }
        passing.reset(); // a farewell would keep its port, which may be a service's, for a minute
    }
    for (std::size_t i = 0; i < threads.size(); ++i)
        peer.send(message("stop", 1));
}

TEST_F(ServerTest, PausesWithoutDescriptorsAndRefusesOneThatSelectCannotTake)
{
    RawPeer& served = join();
    served.send(message("first", 1)); // the sanitizer looks at a type once, with a descriptor
    EXPECT_EQ(receive().payload, "first");
    RawPeer& waits = peers.emplace_back(server.port());
    {
        NoMoreDescriptors const none;
        std::clock_t const before = std::clock();
        auto const start = std::chrono::steady_clock::now();
        EXPECT_EQ(server.receive_ready(300), DTC_IO_TIMEOUT);
        EXPECT_LT(std::clock() - before, 60 * processorMs);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
        served.send(message("served", 1));
        EXPECT_EQ(receive().payload, "served");
    }
    waits.send(message("patient", 1));
    EXPECT_EQ(receive().payload, "patient");
    peers.emplace_back(server.port()).send(message("within one wait", 1));
    std::thread frees = takeDescriptorsFor(std::chrono::milliseconds(120));
    EXPECT_EQ(receive().payload, "within one wait");
    frees.join();
    RawPeer& refused = peers.emplace_back(server.port());
    {
        DescriptorsBelow const full(FD_SETSIZE);
        EXPECT_EQ(server.receive_ready(200), DTC_IO_TIMEOUT);
    }
    EXPECT_TRUE(refused.seesEnd());
    served.send(message("served", 1));
    EXPECT_EQ(receive().payload, "served");
}

// Also when the wait is over in part, and it had to pause.
TEST_F(ServerTest, WaitsTheFullTimeAnewOnceItHasAcceptedAClient)
{
    join(); // the sanitizer looks at a type once, with a descriptor
    std::chrono::steady_clock::time_point accepted;
    server.whenAsked = [&] { accepted = std::chrono::steady_clock::now(); };
    peers.emplace_back(server.port());
    std::thread filler = takeDescriptorsFor(std::chrono::milliseconds(150));
    while (accepted == std::chrono::steady_clock::time_point())
        EXPECT_EQ(server.receive_ready(400), DTC_IO_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - accepted, std::chrono::milliseconds(400));
    filler.join();
}

} // namespace
