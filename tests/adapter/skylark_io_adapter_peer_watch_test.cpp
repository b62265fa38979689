#include "tests/adapter/server_fixture.h"

#include <future>

using namespace testing_support;

namespace {

constexpr unsigned int longMs = 0xFFFFFFFF;

/// A server with one client, whose peer is none of the library's.
struct Served
{
    Served()
    {
        peer.emplace(server.port());
        server.acceptOne();
    }

    std::future<DTC_IO_STATUS> receives()
    {
        return std::async(std::launch::async,
                          [this] { return receiveFrom(server, longMs).status; });
    }

    std::future<DTC_IO_STATUS> sends(std::size_t sizeBytes)
    {
        return std::async(std::launch::async, [this, sizeBytes] {
            return sendTo(server, peer->localPort(), 1, std::string(sizeBytes, 'x'));
        });
    }

    TestServer server;
    std::optional<RawPeer> peer;
};

// The system alone would take a quarter of an hour with those that have vanished.
TEST(PeerWatchTest, NoticesAPeerThatHasVanishedAndKeepsOneThatOnlyDoesNotRead)
{
    std::signal(SIGPIPE, SIG_IGN);
    constexpr std::size_t much = 64U << 20; // more than any socket takes in
    Served idle, replied, inMessage, sending, deaf;
    std::future<DTC_IO_STATUS> gone[] = {sending.sends(much), {}, {}};
    std::future<DTC_IO_STATUS> kept = deaf.sends(much);
    for (RawPeer const* const peer : {&*sending.peer, &*deaf.peer}) {
        while (!peer->hasBytes())
            std::this_thread::yield();
    }
    inMessage.peer->send(header(4, 1).substr(0, 7));
    for (Served* const served : {&replied, &inMessage, &sending})
        served->peer->vanish();
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(replied.sends(1).get(), DTC_IO_SUCCESS);
    EXPECT_EQ(inMessage.sends(1).get(), DTC_IO_SUCCESS);
    gone[1] = replied.receives();
    gone[2] = inMessage.receives();
    auto const begin = std::chrono::steady_clock::now();
    EXPECT_EQ(idle.server.receive_ready(5200), DTC_IO_TIMEOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(5200));
    for (auto& status : gone) {
        ASSERT_EQ(status.wait_for(std::chrono::minutes(2)), std::future_status::ready);
        EXPECT_EQ(status.get(), DTC_IO_DISCONNECTED);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(25));
    }
    EXPECT_THAT(replied.server.events, testing::ElementsAre("127.0.0.1", "none"));
    EXPECT_EQ(idle.server.receive_ready(0), DTC_IO_TIMEOUT) << "it has a client still";
    EXPECT_EQ(kept.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    EXPECT_EQ(deaf.peer->receive(16 + much).size(), 16 + much);
    EXPECT_EQ(kept.get(), DTC_IO_SUCCESS);
}

} // namespace
