#include "tests/adapter/server_fixture.h"

#include <ctime>
#include <future>
#include <netinet/in.h>
#include <netinet/tcp.h>

using namespace testing_support;
using testing::ElementsAre;

namespace {

constexpr std::clock_t processorMs = CLOCKS_PER_SEC / 1000;

TEST_F(ServerTest, ServesEightClientsTheLowestReadyPlaceFirst)
{
    for (int i = 0; i < 8; ++i)
        join();
    for (bool const admits : {true, false}) {
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
}

// A client that is turned away and closes at once must not leave the server's port in TIME_WAIT: a
// program that serves it anew could not listen for a minute.
TEST_F(ServerTest, LeavesItsPortFreeHoweverQuicklyRefusedClientsClose)
{
    auto refusing = std::make_unique<TestServer>();
    unsigned int const port = refusing->port();
    refusing->admits = false;
    std::thread accepting([&] {
        while (refusing->asked < 300)
            refusing->receive_ready(1);
    });
    for (int i = 0; i < 300; ++i)
        EXPECT_TRUE(RawPeer(port).seesEnd());
    accepting.join();
    refusing.reset();
    EXPECT_NO_THROW(TestServer{port});
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
    while (sendTo(server, id, 1, "x") == DTC_IO_SUCCESS) {
    }
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
    peers.emplace_back(server.port()).close();
    SignalStorm const storm;
    EXPECT_EQ(receive(1).status, DTC_IO_TIMEOUT) << "a signal ends even that wait";
}

// While one thread waits, another sends; while two wait for the same client, only one message is
// there.
TEST_F(ServerTest, ServesSeveralThreadsAtOnce)
{
    RawPeer& peer = join();
    std::atomic<int> missing{500};
    auto const echo = [&] {
        while (missing > 0) {
            Incoming const incoming = receive(20);
            if (incoming.status != DTC_IO_SUCCESS)
                continue;
            --missing;
            EXPECT_EQ(sendTo(server, incoming.clientId, incoming.tag, incoming.payload), 0);
        }
    };
    auto const first = std::async(std::launch::async, echo);
    auto const second = std::async(std::launch::async, echo);
    for (unsigned int i = 0; i < 500; ++i) {
        peer.send(message("ping", i));
        ASSERT_EQ(peer.receive(20), message("ping", i));
    }
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
    RawPeer& refused = peers.emplace_back(server.port());
    {
        DescriptorsBelow const full(FD_SETSIZE);
        EXPECT_EQ(server.receive_ready(200), DTC_IO_TIMEOUT);
    }
    EXPECT_TRUE(refused.seesEnd());
    served.send(message("served", 1));
    EXPECT_EQ(receive().payload, "served");
}

} // namespace
