#include "adapter/skylark_io_adapter_client.h"
#include "tests/support/exchange.h"
#include "tests/support/raw_peer.h"
#include "tests/support/signal_storm.h"
#include "tests/support/test_server.h"

#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

using namespace KORVA;
using namespace KORVA::DTC;
using namespace testing_support;

namespace {

constexpr unsigned int patienceMs = 20'000;

enum class Side { Server, Client };

/// Either side of the library against a peer that is none of its own.
class FramingTest : public testing::TestWithParam<Side>
{
protected:
    FramingTest()
    {
        std::signal(SIGPIPE, SIG_IGN);
        connect();
    }

    /// A new connection in the place of the old one.
    void connect()
    {
        if (GetParam() == Side::Server) {
            auto server = std::make_unique<TestServer>();
            m_peer = std::make_unique<RawPeer>(server->port());
            server->acceptOne();
            m_connection = std::move(server);
        } else {
            RawListener listener;
            auto* const socket = new uSocket;
            socket->ClientCreate("127.0.0.1", listener.port());
            m_connection = std::make_unique<skylark_Client>(socket);
            m_peer = std::make_unique<RawPeer>(listener.accept());
        }
    }

    Incoming receive(unsigned int sizeBytes = 64)
    {
        return receiveFrom(*m_connection, patienceMs, sizeBytes);
    }

    /// One that proves the stream to be in step.
    void expectNextMessageIntact()
    {
        m_peer->send(message("next", 77));
        Incoming const next = receive();
        EXPECT_EQ(next.status, DTC_IO_SUCCESS) << m_connection->get_error();
        EXPECT_EQ(next.payload, "next");
        EXPECT_EQ(next.tag, 77U);
    }

    std::unique_ptr<IOAdapter_Connection> m_connection;
    std::unique_ptr<RawPeer> m_peer;
};

INSTANTIATE_TEST_SUITE_P(Both, FramingTest, testing::Values(Side::Server, Side::Client),
                         [](auto const& side) {
                             return side.param == Side::Server ? "Server" : "Client";
                         });

TEST_P(FramingTest, SendsSixteenBytesOfHeaderAndThePayload)
{
    m_peer->send(message("x", 1)); // a server learns the identifier
    unsigned int const id = receive().clientId;
    unsigned int sent = 99;
    EXPECT_EQ(sendTo(*m_connection, id, 0x04030201, "", &sent), DTC_IO_INVALID);
    EXPECT_EQ(m_connection->send(id, 1, nullptr, 4, &sent), DTC_IO_INVALID);
    EXPECT_STREQ(m_connection->get_error(), "");
    EXPECT_EQ(sent, 99U);
    EXPECT_EQ(sendTo(*m_connection, id, 0x04030201, "hello", &sent), DTC_IO_SUCCESS);
    EXPECT_EQ(sent, 5U);
    EXPECT_EQ(m_peer->receive(21),
              std::string("\x01\x00\xCE\xFA\0\0\0\0\x05\0\0\0\x01\x02\x03\x04hello", 21));
}

TEST_P(FramingTest, AssemblesMessagesFromPieces)
{
    std::string const bytes = header(6, 5, 0xFACE0001, 0xDEADBEEF) + "payload"; // one byte too many
    auto incoming = std::async(std::launch::async, [this] { return receive(6); });
    std::size_t start = 0;
    for (std::size_t const size : {3U, 5U, 8U, 1U, 2U, 3U}) {
        m_peer->send(bytes.substr(start, size));
        start += size;
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // a segment of its own
    }
    Incoming const whole = incoming.get();
    EXPECT_EQ(whole.status, DTC_IO_SUCCESS);
    EXPECT_EQ(whole.payload, "payloa") << "as large as the buffer";
    EXPECT_EQ(whole.tag, 5U);
    expectNextMessageIntact();
}

TEST_P(FramingTest, RefusesMalformedHeadersAndGoesOn)
{
    m_peer->send(header(0, 1, 0x12345678) + header(4, 1, 0xABCDEF01));
    EXPECT_EQ(receive().status, DTC_IO_FAILED);
    EXPECT_STREQ(m_connection->get_error(), "Invalid byte count in message header\n");
    Incoming const wrongMagic = receive();
    EXPECT_EQ(wrongMagic.status, DTC_IO_FAILED);
    EXPECT_EQ(wrongMagic.tag, 0U);
    EXPECT_STREQ(m_connection->get_error(), "invalid header received by ReadData(): abcdef01\n");
    expectNextMessageIntact();
}

TEST_P(FramingTest, DrainsAMessageTooLargeToTheByte)
{
    for (std::size_t const length : {65U, 100U, 128U, 70'000U}) {
        m_peer->send(message(std::string(length, 'x'), 9));
        Incoming const tooLarge = receive();
        EXPECT_EQ(tooLarge.status, DTC_IO_INVALID);
        EXPECT_EQ(tooLarge.tag, 0U);
        EXPECT_STREQ(m_connection->get_error(), "Message too large for buffer");
        expectNextMessageIntact();
    }
}

TEST_P(FramingTest, RefusesInvalidArgumentsWithoutTouchingTheStream)
{
    m_peer->send(message("next", 77));
    unsigned int word = 0;
    EXPECT_EQ(m_connection->receive(nullptr, &word, &word, 4, &word, patienceMs), DTC_IO_INVALID);
    EXPECT_EQ(m_connection->receive(&word, nullptr, &word, 4, &word, patienceMs), DTC_IO_INVALID);
    EXPECT_EQ(m_connection->receive(&word, &word, nullptr, 4, &word, patienceMs), DTC_IO_INVALID);
    EXPECT_EQ(m_connection->receive(&word, &word, &word, 0, &word, patienceMs), DTC_IO_INVALID);
    EXPECT_STREQ(m_connection->get_error(), "Invalid parameter");
    EXPECT_EQ(m_connection->receive(&word, &word, &word, 4, nullptr, patienceMs), DTC_IO_SUCCESS);
    EXPECT_EQ(m_connection->get_local_id(nullptr), DTC_IO_INVALID);
}

TEST_P(FramingTest, ReportsAPeerThatLeavesWhereverItStands)
{
    std::string const beginnings[] = {"", header(4, 1).substr(0, 7), header(4, 1) + "ab",
                                      header(0xFFFFFFFF, 1) + std::string(1000, 'x')};
    for (std::string const& beginning : beginnings) {
        for (auto const leave : {&RawPeer::close, &RawPeer::reset}) {
            connect();
            m_peer->send(beginning);
            (*m_peer.*leave)();
            EXPECT_EQ(receive().status, DTC_IO_DISCONNECTED) << beginning.size();
            EXPECT_STREQ(m_connection->get_error(), "Client has disconnected");
        }
    }
}

// Messages trickle in and out of a full pipe while signals rain on the thread. A signal may end a
// wait early, but once a message has begun it must come through whole.
TEST_P(FramingTest, StaysInStepWhenSignalsInterrupt)
{
    constexpr unsigned int length = 6U << 20;
    std::string const payload(length, 'p');
    std::thread peer([&] {
        std::string const bytes = message(payload, 3);
        for (std::size_t start = 0; start < bytes.size(); start += 1 << 20) {
            m_peer->send(bytes.substr(start, 1 << 20));
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(m_peer->receive(16 + length), message(payload, 4));
    });
    unsigned int const before = SignalStorm::handled();
    {
        SignalStorm const storm;
        Incoming incoming;
        do {
            incoming = receive(length);
        } while (incoming.status == DTC_IO_TIMEOUT || incoming.status == DTC_IO_FAILED);
        EXPECT_EQ(incoming.status, DTC_IO_SUCCESS);
        EXPECT_EQ(incoming.payload, payload);
        EXPECT_EQ(sendTo(*m_connection, incoming.clientId, 4, payload), DTC_IO_SUCCESS);
    }
    peer.join();
    EXPECT_GT(SignalStorm::handled(), before + 20);
    expectNextMessageIntact();
}

} // namespace
