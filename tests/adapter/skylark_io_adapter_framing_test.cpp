#include "tests/adapter/server_fixture.h"

using namespace testing_support;

namespace {

class FramingTest : public ServerTest
{
protected:
    /// One message that proves the stream to be in step.
    void expectNextMessageIntact()
    {
        peer.send(message("next", 77));
        Incoming const next = receive();
        EXPECT_EQ(next.status, DTC_IO_SUCCESS) << server.get_error();
        EXPECT_EQ(next.payload, "next");
        EXPECT_EQ(next.tag, 77U);
    }

    RawPeer& peer = join();
};

TEST_F(FramingTest, SendsSixteenBytesOfHeaderAndThePayload)
{
    unsigned int const id = peer.localPort();
    unsigned int sent = 99;
    EXPECT_EQ(sendTo(server, id, 1, "", &sent), DTC_IO_INVALID);
    EXPECT_EQ(server.send(id, 1, nullptr, 4, &sent), DTC_IO_INVALID);
    EXPECT_STREQ(server.get_error(), "");
    EXPECT_EQ(sent, 99U);
    EXPECT_EQ(sendTo(server, id, 0x04030201, "hello", &sent), DTC_IO_SUCCESS);
    EXPECT_EQ(sent, 5U);
    EXPECT_EQ(peer.receive(21),
              std::string("\x01\x00\xCE\xFA\0\0\0\0\x05\0\0\0\x01\x02\x03\x04hello", 21));
}

TEST_F(FramingTest, RefusesWhatItCannotTakeAndStaysInStep)
{
    struct
    {
        std::string bytes;
        DTC_IO_STATUS status;
        char const* error;
    } const cases[] = {
        {header(0, 1, 0x12345678), DTC_IO_FAILED, "Invalid byte count in message header\n"},
        {header(4, 1, 0xABCDEF01), DTC_IO_FAILED,
         "invalid header received by ReadData(): abcdef01\n"},
        {message(std::string(65, 'x'), 9), DTC_IO_INVALID, "Message too large for buffer"},
        {message(std::string(128, 'x'), 9), DTC_IO_INVALID, "Message too large for buffer"},
        {message(std::string(70'000, 'x'), 9), DTC_IO_INVALID, "Message too large for buffer"}};
    for (auto const& c : cases) {
        peer.send(c.bytes);
        Incoming const refused = receive();
        EXPECT_EQ(refused.status, c.status);
        EXPECT_TRUE(refused.clientId == 99 && refused.tag == 0 && refused.length == 0);
        EXPECT_STREQ(server.get_error(), c.error);
        expectNextMessageIntact();
    }
    peer.send(message("next", 77));
    unsigned int word = 0;
    EXPECT_EQ(server.receive(nullptr, &word, &word, 4, &word, 0), DTC_IO_INVALID);
    EXPECT_EQ(server.receive(&word, nullptr, &word, 4, &word, 0), DTC_IO_INVALID);
    EXPECT_EQ(server.receive(&word, &word, nullptr, 4, &word, 0), DTC_IO_INVALID);
    EXPECT_EQ(server.receive(&word, &word, &word, 0, &word, 0), DTC_IO_INVALID);
    EXPECT_STREQ(server.get_error(), "Invalid parameter");
    EXPECT_EQ(server.receive(&word, &word, &word, 4, nullptr, patienceMs), DTC_IO_SUCCESS);
}

TEST_F(FramingTest, DropsEachPieceOfAMessageTooLargeAtTheStartOfTheBuffer)
{
    unsigned int const id = peer.localPort();
    peer.send(header(80, 1) + std::string(40, 'a'));
    while (server.bytesFrom(id) < 16 + 40)
        std::this_thread::yield();
    std::thread rest([&] {
        while (server.bytesFrom(id) > 0)
            std::this_thread::yield();
        peer.send(std::string(40, 'b'));
    });
    EXPECT_EQ(receive().buffer, std::string(40, 'b') + std::string(24, '\0'));
    rest.join();
}

TEST_F(ServerTest, ReportsAPeerThatLeavesWhereverItStands)
{
    for (std::string const& beginning : {std::string(), header(4, 1).substr(0, 7),
                                         header(4, 1) + "ab", header(0xFFFFFFFF, 1) + "x"}) {
        for (auto const leave : {&RawPeer::close, &RawPeer::reset}) {
            RawPeer& leaving = join();
            leaving.send(beginning);
            (leaving.*leave)();
            EXPECT_EQ(receive().status, DTC_IO_DISCONNECTED) << beginning.size();
            EXPECT_STREQ(server.get_error(), "Client has disconnected");
        }
    }
}

struct WithoutConnection : TestServer
{
    DTC_IO_STATUS readHeader() { return receive_sock(&socket, &word, &word, 4, &word); }
    DTC_IO_STATUS write() { return send_sock(&socket, 1, &word, 4, &word); }

    KORVA::uSocket socket;
    unsigned int word = 0;
};

TEST(FramingFailureTest, IsPrintedButForAHeaderThatDoesNotCome)
{
    WithoutConnection server;
    testing::internal::CaptureStdout();
    EXPECT_EQ(server.readHeader(), DTC_IO_FAILED);
    EXPECT_EQ(server.write(), DTC_IO_FAILED);
    EXPECT_THAT(
        testing::internal::GetCapturedStdout(),
        testing::MatchesRegex("skylark_io_adapter_framing.cpp.[0-9]+. WriteData.. returned "
                              "error.4.: socket write error: Unknown Socket Error .0x9.\n"));
}

// Messages trickle in and out of a full pipe while signals rain on the thread. A signal may end a
// wait early, but once a message has begun it must come through whole.
TEST_F(FramingTest, StaysInStepWhenMessagesTrickleAndSignalsInterrupt)
{
    constexpr unsigned int length = 6U << 20;
    std::string const payload(length, 'p');
    unsigned int const before = SignalStorm::handled();
    std::thread sender([&] {
        std::string const bytes = header(length, 3, 0xFACE0001, 0xDEADBEEF) + payload;
        std::size_t start = 0;
        for (std::size_t const size : {3U, 5U, 8U, 1U, 2U << 20, 3U << 20}) {
            peer.send(bytes.substr(start, size));
            start += size;
            std::this_thread::sleep_for(std::chrono::milliseconds(3)); // a segment of its own
        }
        while (SignalStorm::handled() <= before + 20)
            std::this_thread::yield();
        peer.send(bytes.substr(start));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(peer.receive(16 + length), message(payload, 4));
    });
    {
        SignalStorm const storm;
        Incoming incoming;
        do {
            incoming = receive(patienceMs, length); // as large as the message
        } while (incoming.status == DTC_IO_TIMEOUT || incoming.status == DTC_IO_FAILED);
        EXPECT_EQ(incoming.payload, payload);
        EXPECT_EQ(sendTo(server, incoming.clientId, 4, payload), DTC_IO_SUCCESS);
    }
    sender.join();
    expectNextMessageIntact();
}

} // namespace
