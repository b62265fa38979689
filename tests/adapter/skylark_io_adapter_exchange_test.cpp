#include "adapter/skylark_io_adapter.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/exchange.h"
#include "tests/support/raw_peer.h"
#include "tests/support/test_server.h"

#include <atomic>
#include <cmath>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <list>
#include <memory>
#include <random>
#include <thread>
#include <vector>

using namespace KORVA;
using namespace KORVA::DTC;
using namespace testing_support;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned int effort = 10;     // a tenth of it: the sanitizers slow everything down
constexpr bool memoryStaysFlat = false; // they keep freed memory aside
#else
constexpr unsigned int effort = 1;
constexpr bool memoryStaysFlat = true;
#endif

/// Answers every message with itself until destroyed, on a server that admits everyone.
class Echo
{
public:
    Echo()
    {
        std::signal(SIGPIPE, SIG_IGN);
        server.notes = false;
    }
    ~Echo()
    {
        m_stop = true;
        m_thread.join();
    }

    TestServer server{55755};
    std::atomic<unsigned long> messages{0};

private:
    void run()
    {
        std::vector<unsigned int> buffer(1 << 18);
        unsigned int client = 0;
        unsigned int tag = 0;
        unsigned int length = 0;
        while (!m_stop) {
            // Asked first, because a receive that loses a client waits for the others without
            // limit.
            if (server.receive_ready(20) != DTC_IO_SUCCESS ||
                server.receive(&client, &tag, buffer.data(), 1 << 20, &length, 0) != DTC_IO_SUCCESS)
                continue;
            server.send(client, tag, buffer.data(), length, nullptr);
            ++messages;
        }
    }

    std::atomic<bool> m_stop{false};
    std::thread m_thread{[this] { run(); }};
};

/// Exchanges messages of mixed sizes with the server and checks every byte. The seed makes the
/// content this client's own. Begins at the first stage, leaves at the second.
void exchange(unsigned int seed, unsigned int messages, std::atomic<int> const& stage)
{
    constexpr unsigned int largestBytes = 1U << 20;
    std::minstd_rand random(seed);
    std::uniform_real_distribution<double> exponent(0, 16);
    std::string pattern(2 * largestBytes, '\0');
    for (char& byte : pattern)
        byte = static_cast<char>(random());
    awaitAtLeast(stage, 1);
    skylark_IOAdapter adapter;
    IOAdapter_Connection* const box = adapter.open("0x7F000001", "dtc_io");
    ASSERT_NE(box, nullptr) << adapter.get_error();
    for (unsigned int i = 0; i < messages; ++i) {
        auto const size = static_cast<unsigned int>(std::exp2(exponent(random)));
        unsigned int const length = i % 200 == seed ? largestBytes : size;
        auto const tag = static_cast<unsigned int>(random());
        std::string const payload = pattern.substr(random() % largestBytes, length);
        ASSERT_EQ(sendTo(*box, 0, tag, payload), DTC_IO_SUCCESS) << box->get_error();
        Incoming const reply = receiveFrom(*box, 60'000, length);
        ASSERT_EQ(reply.status, DTC_IO_SUCCESS) << box->get_error();
        ASSERT_TRUE(reply.clientId == 55755 && reply.tag == tag && reply.payload == payload);
    }
    awaitAtLeast(stage, 2);
}

TEST(ExchangeTest, EightProcessesExchangeThousandsOfMessagesWhileTheNinthIsTurnedAway)
{
    unsigned int const messages = 5'000 / effort;
    std::atomic<int>& stage = newSharedNumber();
    std::list<Fork> clients;
    for (unsigned int seed = 1; seed <= 8; ++seed)
        clients.emplace_back([&, seed] { exchange(seed, messages, stage); });
    Echo echo;
    stage = 1;
    awaitAtLeast(echo.server.asked, 8);
    EXPECT_TRUE(RawPeer(55755).seesEnd());
    stage = 2;
    for (Fork& client : clients)
        EXPECT_EQ(client.wait(), 0);
    EXPECT_EQ(echo.messages, 8UL * messages);
}

std::size_t residentKiB()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    statm >> total >> resident;
    return resident * 4;
}

// Clients come, exchange a message and go. The other service port is held meanwhile, so that no
// client is given it as its own port, where it would linger and keep a later server from listening.
/// A peer that has had its message echoed. Those who have left keep their places until the server's
/// turn comes to them, so that one is turned away now and then.
std::unique_ptr<RawPeer> servedPeer(std::string const& bytes, std::string& reply)
{
    std::unique_ptr<RawPeer> peer;
    for (int attempt = 0; attempt < 100 && reply.empty(); ++attempt) {
        try {
            peer = std::make_unique<RawPeer>(55755);
            peer->send(bytes);
            reply = peer->receive(bytes.size());
        } catch (std::runtime_error const&) { // while sending: turned away already
        }
    }
    return peer;
}

TEST(ExchangeTest, ServesTenThousandClientsInTurnWithoutGrowing)
{
    unsigned int const clients = 10'000 / effort;
    std::unique_ptr<uSocket> const heldPort(listenOn(55756));
    Echo echo;
    std::size_t descriptors = 0;
    std::size_t memory = 0;
    for (unsigned int i = 0; i < clients; ++i) {
        std::string reply;
        std::unique_ptr<RawPeer> const peer = servedPeer(message("hello", i), reply);
        ASSERT_EQ(reply, message("hello", i));
        if (i == clients / 10) {
            descriptors = openDescriptors();
            memory = residentKiB();
        }
        if (i % 2 == 0)
            peer->reset();
    }
    EXPECT_LE(openDescriptors(), descriptors + 2) << "one or two may not be cleared away yet";
    EXPECT_LE(residentKiB(), memory + (memoryStaysFlat ? 512 : 1U << 20));
}

} // namespace
