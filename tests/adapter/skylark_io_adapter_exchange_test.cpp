#include "adapter/skylark_io_adapter.h"
#include "tests/support/child.h"
#include "tests/support/exchange.h"
#include "tests/support/raw_peer.h"
#include "tests/support/test_server.h"

#include <cmath>
#include <list>
#include <malloc.h>
#include <random>

using namespace testing_support;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(EMULATED)
constexpr unsigned int effort = 10; // a tenth of it: these slow everything down
#else
constexpr unsigned int effort = 1;
#endif

/// Answers a message with itself, if one comes soon.
void echo(TestServer& server)
{
    // Asked first, because a receive that loses a client waits for the others without limit.
    if (server.receive_ready(20) != DTC_IO_SUCCESS)
        return;
    Incoming const incoming = receiveFrom(server, 0, 1 << 20);
    sendTo(server, incoming.clientId, incoming.tag, incoming.payload);
}

/// Exchanges messages of mixed sizes with the server and checks every byte. The seed makes the
/// content this client's own. Connects in its turn, for all want the bus first. Says when it is
/// connected, and leaves when nine are.
void runClient(unsigned int seed, std::atomic<int>& opened, std::atomic<int>& connected)
{
    std::minstd_rand random(seed);
    std::uniform_real_distribution<double> exponent(0, 16);
    std::string pattern(2 << 20, '\0');
    for (char& byte : pattern)
        byte = static_cast<char>(random());
    KORVA::DTC::skylark_IOAdapter adapter;
    awaitAtLeast(opened, static_cast<int>(seed) - 1);
    auto* const box = adapter.open("0x7F000001", "dtc_io");
    ++opened;
    ASSERT_NE(box, nullptr) << adapter.get_error();
    for (unsigned int i = 0; i < 5'000 / effort; ++i) {
        double const bits = i % 200 == seed ? 20 : exponent(random);
        auto const length = static_cast<unsigned int>(std::exp2(bits));
        std::string const payload = pattern.substr(random() % (1 << 20), length);
        ASSERT_EQ(sendTo(*box, 0, i, payload), DTC_IO_SUCCESS) << box->get_error();
        Incoming const reply = receiveFrom(*box, 60'000, length);
        ASSERT_EQ(reply.status, DTC_IO_SUCCESS) << box->get_error();
        ASSERT_TRUE(reply.clientId == 55755 && reply.tag == i && reply.payload == payload);
        connected += i == 0 ? 1 : 0;
    }
    awaitAtLeast(connected, 9);
}

TEST(ExchangeTest, EightProcessesExchangeThousandsOfMessagesWhileTheNinthIsTurnedAway)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::atomic<int>& opened = newSharedNumber();
    std::atomic<int>& connected = newSharedNumber();
    std::atomic<int>& left = newSharedNumber();
    TestServer server(55755);
    std::list<Fork> clients;
    for (unsigned int seed = 1; seed <= 9; ++seed) {
        clients.emplace_back([&, seed] {
            if (seed <= 8) {
                runClient(seed, opened, connected);
            } else {
                awaitAtLeast(connected, 8);
                EXPECT_TRUE(RawPeer(55755).seesEnd());
                ++connected;
            }
            ++left;
        });
    }
    while (left < 9)
        echo(server);
    for (Fork& client : clients)
        EXPECT_EQ(client.wait(), 0);
}

TEST(ExchangeTest, ServesTenThousandClientsInTurnWithoutGrowing)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::unique_ptr<KORVA::uSocket> const heldPort(
        listenOn(55756)); // so that no client is given it
    std::atomic<int>& done = newSharedNumber();
    TestServer server(55755);
    server.notes = false;
    std::size_t const descriptors = openDescriptors();
    Fork clients([&] {
        for (unsigned int i = 0; i < 10'000 / effort; ++i) {
            std::string const bytes = message("hello", i);
            std::string reply;
            while (reply.empty()) { // turned away while those who have left hold their places
                RawPeer peer(55755);
                ::send(peer.descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
                reply = peer.receive(bytes.size());
                if (i % 2 == 0)
                    peer.reset();
            }
            EXPECT_EQ(reply, bytes);
        }
        done = 1;
    });
    std::size_t memory = 0;
    while (done == 0) {
        echo(server);
        if (server.asked < static_cast<int>(1'000 / effort))
            memory = mallinfo2().uordblks;
    }
    EXPECT_EQ(clients.wait(), 0);
    while (receiveFrom(server, 0).status != DTC_IO_DISCONNECTED) {
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_LT(mallinfo2().uordblks, memory + (64U << 10));
}

} // namespace
