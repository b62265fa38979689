#include "tests/support/descriptors.h"
#include "tests/support/exchange.h"
#include "tests/support/raw_peer.h"
#include "tests/support/signal_storm.h"
#include "tests/support/test_server.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <gmock/gmock.h>
#include <list>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thread>

using namespace KORVA;
using namespace KORVA::DTC;
using namespace testing_support;
using testing::ElementsAre;

namespace {

constexpr unsigned int patienceMs = 20'000;
constexpr std::clock_t processorMs = CLOCKS_PER_SEC / 1000;

class ServerTest : public testing::Test
{
protected:
    ServerTest() { std::signal(SIGPIPE, SIG_IGN); }

    /// Connects and is accepted: the server's places are taken in the order of the calls.
    RawPeer& join()
    {
        RawPeer& peer = peers.emplace_back(server.port());
        server.acceptOne();
        return peer;
    }

    Incoming receive(unsigned int timeoutMs = patienceMs) { return receiveFrom(server, timeoutMs); }

    TestServer server;
    std::list<RawPeer> peers;
};

TEST_F(ServerTest, TellsATimeOutFromHavingNoClient)
{
    EXPECT_EQ(server.receive_ready(0), DTC_IO_DISCONNECTED);
    EXPECT_EQ(receive(0).status, DTC_IO_DISCONNECTED);
    EXPECT_EQ(sendTo(server, 1, 1, "x"), DTC_IO_DISCONNECTED);
    join();
    EXPECT_EQ(server.receive_ready(0), DTC_IO_TIMEOUT);
    EXPECT_EQ(receive(1).status, DTC_IO_TIMEOUT);
    EXPECT_STREQ(server.get_error(), "") << "a server's waits set no text";
    peers.clear();
    EXPECT_EQ(receive().status, DTC_IO_DISCONNECTED);
    EXPECT_THAT(server.events, ElementsAre("127.0.0.1", "none"));
}

TEST_F(ServerTest, ServesTheLowestReadySlotFirst)
{
    for (int i = 0; i < 3; ++i)
        join();
    for (auto peer = peers.rbegin(); peer != peers.rend(); ++peer)
        peer->send(message("x", peer->localPort()));
    for (RawPeer const& peer : peers) {
        while (server.bytesFrom(peer.localPort()) == 0)
            std::this_thread::yield();
    }
    for (RawPeer const& peer : peers)
        EXPECT_EQ(receive().tag, peer.localPort());
}

TEST_F(ServerTest, ClosesTheNinthClientAndKeepsTheEight)
{
    for (int i = 0; i < 8; ++i)
        join();
    EXPECT_TRUE(join().seesEnd());
    server.admits = false;
    EXPECT_TRUE(join().seesEnd());
    server.admits = true;
    while (peers.size() > 8)
        peers.pop_back();
    for (RawPeer& peer : peers) {
        peer.send(message("x", 1));
        EXPECT_EQ(receive().clientId, peer.localPort());
    }
}

// A client that is turned away and closes at once must not leave the server's port in TIME_WAIT: a
// program that serves it anew could not listen for a minute.
TEST_F(ServerTest, LeavesItsPortFreeHoweverQuicklyRefusedClientsClose)
{
    auto serving = std::make_unique<TestServer>();
    unsigned int const port = serving->port();
    serving->admits = false;
    std::atomic<bool> stop{false};
    std::thread accepting([&] {
        while (!stop)
            serving->receive_ready(1);
    });
    for (int i = 0; i < 300; ++i)
        EXPECT_TRUE(RawPeer(port).seesEnd());
    stop = true;
    accepting.join();
    serving.reset();
    EXPECT_NO_THROW(TestServer{port});
}

TEST_F(ServerTest, WatchesOverSilentClients)
{
    unsigned int const client = join().localPort();
    EXPECT_EQ(server.optionOf(client, SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(server.optionOf(client, IPPROTO_TCP, TCP_KEEPIDLE), 15);
    EXPECT_EQ(server.optionOf(client, IPPROTO_TCP, TCP_KEEPINTVL), 5);
    EXPECT_EQ(server.optionOf(client, IPPROTO_TCP, TCP_KEEPCNT), 3);
}

// A send that finds its client gone only marks the place; the wait that follows clears it, tells
// the policy and makes it free for another client.
TEST_F(ServerTest, ClearsTheClientThatASendFoundGone)
{
    RawPeer& peer = join();
    peer.send(message("x", 1));
    unsigned int const id = receive().clientId;
    peer.reset();
    while (sendTo(server, id, 1, "x") == DTC_IO_SUCCESS) {
    }
    EXPECT_STREQ(server.get_error(), "Client has disconnected");
    EXPECT_EQ(sendTo(server, id, 1, "x"), DTC_IO_DISCONNECTED);
    EXPECT_THAT(server.events, ElementsAre("127.0.0.1"));
    EXPECT_EQ(server.receive_ready(0), DTC_IO_DISCONNECTED);
    EXPECT_THAT(server.events, ElementsAre("127.0.0.1", "none"));
    for (int i = 0; i < 8; ++i)
        join().send(message("x", 1));
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
    constexpr int rounds = 500;
    RawPeer& peer = join();
    std::atomic<int> received{0};
    auto const echo = [&] {
        while (received < rounds) {
            Incoming const incoming = receive(20);
            if (incoming.status == DTC_IO_SUCCESS) {
                ++received;
                EXPECT_EQ(sendTo(server, incoming.clientId, incoming.tag, incoming.payload),
                          DTC_IO_SUCCESS);
            }
        }
    };
    std::thread first(echo);
    std::thread second(echo);
    for (unsigned int i = 0; i < rounds; ++i) {
        peer.send(message("ping", i));
        ASSERT_EQ(peer.receive(20), message("ping", i));
    }
    first.join();
    second.join();
}

TEST_F(ServerTest, PausesWhenItCannotAcceptAndServesAgainWhenItCan)
{
    RawPeer& served = join();
    EXPECT_EQ(receive(0).status, DTC_IO_TIMEOUT);
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
}

TEST_F(ServerTest, RefusesAClientWhoseDescriptorSelectCannotTake)
{
    RawPeer& served = join();
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
