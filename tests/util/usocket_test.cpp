#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/signal_storm.h"
#include "util/descriptor.h"
#include "util/usocket.h"

#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using KORVA::uSocket;
using namespace testing_support;

namespace {

/// A listening socket, a client of it and the server's end of that connection.
class SocketTest : public testing::Test
{
protected:
    uSocket listening;
    void SetUp() override
    {
        ASSERT_EQ(listening.ServerCreate(0), 0U) << listening.GetLastErrorText();
        port = listening.GetLocalPort();
        ASSERT_EQ(client.ClientCreate("127.0.0.1", port + 0x10000), 0U) << "16 bits count";
        accepted.reset(listening.AcceptClient());
        ASSERT_NE(accepted, nullptr);
    }

    unsigned int port = 0;
    uSocket client;
    std::unique_ptr<uSocket> accepted;
    unsigned char bytes[64] = {};
    unsigned int count = 99;
};

TEST_F(SocketTest, ReadsWhatIsThereAndReportsTheEnd)
{
    for (uSocket const* socket : {&listening, &client, accepted.get()}) {
        EXPECT_EQ(optionOf(socket->GetDescriptor(), IPPROTO_TCP, TCP_NODELAY), 1);
        EXPECT_EQ(fcntl(socket->GetDescriptor(), F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(optionOf(client.GetDescriptor(), IPPROTO_TCP, TCP_SYNCNT), 3) << "ends in seconds";
    EXPECT_EQ(accepted->GetLocalPort(), port);
    tcp_info info{};
    socklen_t size = sizeof info;
    getsockopt(listening.GetDescriptor(), IPPROTO_TCP, TCP_INFO, &info, &size);
    bool const isTold = size == sizeof info; // not under qemu
    EXPECT_EQ(info.tcpi_sacked, isTold ? 1U : 0U) << "of one that listens: its backlog";
    EXPECT_EQ(client.WriteData(bytes, 5, 3, &count), 0U);
    EXPECT_EQ(accepted->ReadData(bytes, 16, 0, &count), 0U);
    EXPECT_EQ(accepted->ReadData(nullptr, 16, 0, &count), 2U);
    EXPECT_EQ(count, 5U) << "not touched";
    EXPECT_STREQ(accepted->GetLastErrorText(), "Data buffer is NULL");
    EXPECT_EQ(accepted->WriteData(nullptr, 16, 0, &count), 2U);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(client.WriteData(bytes, 7, 0, &count), 0U);
    EXPECT_EQ(accepted->GetReadDataAvailable(), 7U);
    EXPECT_EQ(accepted->ReadData(bytes, 64, 0, &count), 0U);
    int const inherited = dup(client.GetDescriptor()); // as by a process that was forked
    client.Close();
    EXPECT_EQ(accepted->ReadData(bytes, 16, 0, &count), 5U);
    close(inherited);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(std::string(accepted->GetLastErrorText()).rfind("socket closed: read error: ", 0),
              0U);
    EXPECT_EQ(client.ReadData(bytes, 16, 0, &count), 4U) << "closed: not a lost connection";
    EXPECT_EQ(count, 0xFFFFFFFFU) << "what the system call returned";
    ASSERT_EQ(client.ClientCreate("127.0.0.1", port), 0U);
    std::size_t const descriptors = openDescriptors();
    ASSERT_EQ(client.ClientCreate("127.0.0.1", port), 0U);
    EXPECT_EQ(openDescriptors(), descriptors) << "the first one is closed";
    accepted->Close();
    listening.Close();
    EXPECT_EQ(client.ReadData(bytes, 1, 0, &count), 5U) << "reset, though never accepted";
    std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(client.WriteData(bytes, 1, 0, &count), 5U) << "a broken pipe";
    EXPECT_EQ(listening.ServerCreate(port), 0U) << listening.GetLastErrorText();
}

TEST_F(SocketTest, SaysWhyItFailed)
{
    EXPECT_EQ(client.AcceptClient(), nullptr);
    EXPECT_STREQ(client.GetLastErrorText(), "AcceptClient() is only valid on server socket");
    EXPECT_EQ(uSocket().ClientCreate("localhost", port), 4U) << "no name is looked up";
    std::pair<int, char const*> const texts[] = {
        {EINVAL, "p: Invalid parameter (EIVAL)"},
        {ENOTSOCK, "p: Socket operation on non-socket(ENOTSOCK)"},
        {EPIPE, "p: Broken pipe (EPIPE)"},
        {EACCES, "p: Unknown Socket Error (0xd)"}};
    for (auto const& [error, text] : texts) {
        errno = error;
        EXPECT_EQ(client.getLastSockErr("p"), static_cast<unsigned int>(error));
        EXPECT_STREQ(client.GetLastErrorText(), text);
    }
}

// The connection waits for room in the backlog while signals come.
TEST_F(SocketTest, ConnectsWhateverSignalsCome)
{
    ASSERT_EQ(listen(listening.GetDescriptor(), 0), 0); // a shorter backlog, which one peer fills
    uSocket peer;
    ASSERT_EQ(peer.ClientCreate("127.0.0.1", port), 0U);
    std::unique_ptr<uSocket> ends[2];
    unsigned int const before = SignalStorm::handled();
    std::thread accepter([&] {
        while (SignalStorm::handled() < before + 20)
            std::this_thread::yield();
        for (std::unique_ptr<uSocket>& end : ends)
            end.reset(listening.AcceptClient());
    });
    SignalStorm const storm;
    uSocket late;
    EXPECT_EQ(late.ClientCreate("127.0.0.1", port), 0U) << late.GetLastErrorText();
    accepter.join();
    std::thread connecter([&, handled = SignalStorm::handled()] {
        while (SignalStorm::handled() < handled + 20)
            std::this_thread::yield();
        EXPECT_EQ(peer.ClientCreate("127.0.0.1", port), 0U);
    });
    ends[0].reset(listening.AcceptClient());
    EXPECT_NE(ends[0], nullptr) << listening.GetLastErrorText();
    connecter.join();
}

TEST(DescriptorTest, StaysOffTheNumbersOfTheStandardStreams)
{
    for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        Fork child([stream] {
            close(stream);
            int const moved = KORVA::aboveStandardStreams(open("/dev/null", O_RDONLY | O_CLOEXEC));
            EXPECT_GT(moved, STDERR_FILENO);
            EXPECT_EQ(fcntl(moved, F_GETFD), FD_CLOEXEC);
            EXPECT_EQ(fcntl(stream, F_GETFD), -1) << "still closed";
        });
        EXPECT_EQ(child.wait(), 0);
    }
}

} // namespace
