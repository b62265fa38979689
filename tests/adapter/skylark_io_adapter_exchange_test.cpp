#include "adapter/dtc_io.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/raw_peer.h"
#include "tests/support/test_server.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
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

/// Answers every message with itself until stopped, on a server that admits everyone.
class Echo
{
public:
    explicit Echo(unsigned int port) : m_server(port)
    {
        std::signal(SIGPIPE, SIG_IGN);
        m_server.notes = false;
        m_thread = std::thread([this] { run(); });
    }

    ~Echo()
    {
        m_stop = true;
        m_thread.join();
    }

    unsigned long messages() const { return m_messages; }
    int clients() const { return m_server.asked; }

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
            if (m_server.receive_ready(20) != DTC_IO_SUCCESS ||
                m_server.receive(&client, &tag, buffer.data(), 1 << 20, &length, 0) !=
                    DTC_IO_SUCCESS)
                continue;
            m_server.send(client, tag, buffer.data(), length, nullptr);
            ++m_messages;
        }
    }

    TestServer m_server;
    std::atomic<bool> m_stop{false};
    std::atomic<unsigned long> m_messages{0};
    std::thread m_thread;
};

TEST(ExchangeTest, EightProcessesExchangeThousandsOfMessagesWhileTheNinthIsTurnedAway)
{
    constexpr unsigned int messages = 10'000 / effort;
    Echo echo(55755);
    std::string const gate = std::string(std::getenv("DTC_BOX_ROOT")) + ".gate";
    ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
    std::vector<std::unique_ptr<Child>> clients;
    for (int i = 1; i <= 8; ++i)
        clients.push_back(std::make_unique<Child>(std::vector<std::string>{
            EXCHANGE_CLIENT, std::to_string(messages), std::to_string(i), gate}));
    while (echo.clients() < 8)
        std::this_thread::yield();
    EXPECT_TRUE(RawPeer(55755).seesEnd());
    int const opened = open(gate.c_str(), O_RDWR | O_CLOEXEC); // now they may leave
    for (auto& client : clients)
        EXPECT_EQ(client->wait(), 0) << client->output();
    EXPECT_EQ(echo.messages(), 8UL * messages);
    close(opened);
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
TEST(ExchangeTest, ServesTenThousandClientsInTurnWithoutGrowing)
{
    constexpr int clients = 10'000 / effort;
    std::unique_ptr<uSocket> const heldPort(listenOn(55756));
    Echo echo(55755);
    std::size_t descriptors = 0;
    std::size_t memory = 0;
    for (int i = 0; i < clients; ++i) {
        RawPeer peer(55755);
        peer.send(message("hello", static_cast<unsigned int>(i)));
        ASSERT_EQ(peer.receive(21), message("hello", static_cast<unsigned int>(i))) << i;
        if (i == clients / 10) {
            descriptors = openDescriptors();
            memory = residentKiB();
        }
        if (i == clients - 1) {
            EXPECT_LE(openDescriptors(), descriptors + 2)
                << "one or two may not be cleared away yet";
            EXPECT_LE(residentKiB(), memory + (memoryStaysFlat ? 512 : 1U << 20));
        }
        if (i % 2 == 0)
            peer.reset();
    }
}

} // namespace
