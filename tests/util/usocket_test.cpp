#include "tests/support/descriptors.h"
#include "tests/support/raw_peer.h"
#include "tests/support/signal_storm.h"
#include "util/usocket.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thread>

using KORVA::uSocket;
using namespace testing_support;

namespace {

int optionOf(uSocket const& socket, int level, int name)
{
    int value = 0;
    socklen_t size = sizeof value;
    getsockopt(socket.GetDescriptor(), level, name, &value, &size);
    return value;
}

/// A listening socket, a client of it and the server's end of that connection.
class SocketTest : public testing::Test
{
protected:
    SocketTest()
    {
        EXPECT_EQ(listening.ServerCreate(0), 0U) << listening.GetLastErrorText();
        EXPECT_EQ(client.ClientCreate("127.0.0.1", listening.GetLocalPort() + 0x10000), 0U)
            << "only the low 16 bits of a port count";
        accepted.reset(listening.AcceptClient());
    }

    uSocket listening;
    uSocket client;
    std::unique_ptr<uSocket> accepted;
    unsigned char bytes[64] = {};
    unsigned int count = 99;
};

TEST_F(SocketTest, KnowsBothEndsOfAConnection)
{
    EXPECT_EQ(client.GetRemotePort(), listening.GetLocalPort());
    EXPECT_EQ(accepted->GetRemotePort(), client.GetLocalPort());
    EXPECT_EQ(accepted->GetLocalPort(), listening.GetLocalPort());
    EXPECT_EQ(listening.GetRemotePort(), listening.GetLocalPort());
    EXPECT_STREQ(accepted->GetHost(), "127.0.0.1");
    EXPECT_STREQ(listening.GetHost(), "");
    for (uSocket const* socket : {&listening, &client, accepted.get()}) {
        EXPECT_NE(optionOf(*socket, IPPROTO_TCP, TCP_NODELAY), 0);
        EXPECT_EQ(fcntl(socket->GetDescriptor(), F_GETFD), FD_CLOEXEC);
    }
}

TEST_F(SocketTest, ReadsWhatIsThereAndReportsTheEnd)
{
    EXPECT_EQ(client.WriteData(bytes, 5, 3, &count), 0U);
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(accepted->ReadData(bytes, 16, 0, &count), 0U);
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(accepted->ReadData(nullptr, 16, 0, &count), 2U);
    EXPECT_EQ(count, 5U) << "not touched";
    EXPECT_STREQ(accepted->GetLastErrorText(), "Data buffer is NULL");
    EXPECT_EQ(accepted->WriteData(nullptr, 16, 0, &count), 2U);
    EXPECT_EQ(count, 0U);

    EXPECT_EQ(client.WriteData(bytes, 7, 0, &count), 0U);
    EXPECT_EQ(accepted->GetReadDataAvailable(), 7U);
    EXPECT_EQ(accepted->ReadData(bytes, 64, 0, &count), 0U);
    client.Close();
    client.Close();
    EXPECT_EQ(client.GetDescriptor(), -1);
    EXPECT_EQ(client.GetReadDataAvailable(), 0U);
    EXPECT_EQ(accepted->ReadData(bytes, 16, 0, &count), 5U);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(client.ReadData(bytes, 16, 0, &count), 4U) << "closed: not a lost connection";
    EXPECT_EQ(count, 0xFFFFFFFFU) << "what the system call returned";
}

TEST_F(SocketTest, ResetsTheClientsOfAServerThatCloses)
{
    RawPeer peer(listening.GetLocalPort());
    std::unique_ptr<uSocket> const other(listening.AcceptClient());
    unsigned int const port = listening.GetLocalPort();
    other->Abort();
    accepted->Close();
    listening.Close();
    EXPECT_TRUE(peer.seesEnd());
    EXPECT_EQ(client.ReadData(bytes, 1, 0, &count), 5U);
    EXPECT_EQ(count, 0U);
    uSocket next;
    EXPECT_EQ(next.ServerCreate(port), 0U)
        << "the port is free at once: " << next.GetLastErrorText();
}

TEST_F(SocketTest, SaysWhyItFailed)
{
    uSocket taken;
    EXPECT_EQ(taken.ServerCreate(listening.GetLocalPort()), 1U);
    EXPECT_STREQ(taken.GetLastErrorText(),
                 "Error binding socket: Address already in use (EADDRINUSE)");
    EXPECT_EQ(client.AcceptClient(), nullptr);
    EXPECT_STREQ(client.GetLastErrorText(), "AcceptClient() is only valid on server socket");
    unsigned int const port = listening.GetLocalPort();
    listening.Close();
    uSocket refused;
    EXPECT_EQ(refused.ClientCreate("127.0.0.1", port), 4U);
    EXPECT_STREQ(refused.GetLastErrorText(),
                 "Error on socket connect: Connection refused (ECONNREFUSED)");
    uSocket named;
    EXPECT_EQ(named.ClientCreate("localhost", port), 4U) << "no name is looked up";

    struct
    {
        int error;
        char const* text;
    } const odd[] = {{EAGAIN, "p: Operation would have blocked (EWOULDBLOCK/EGAIN)"},
                     {EINVAL, "p: Invalid parameter (EIVAL)"},
                     {ENOTSOCK, "p: Socket operation on non-socket(ENOTSOCK)"},
                     {EDESTADDRREQ, "p: Socket already connected (EDESTADDRREQ)"},
                     {EPROTONOSUPPORT, "p: Unknown protocol (EPROTONOTSUPPORT)"},
                     {EALREADY, "p: Socket already connected (EALREADY)"},
                     {EDQUOT, "p: Quota exceeded (EDQUOT)"},
                     {EACCES, "p: Unknown Socket Error (0xd)"}};
    for (auto const& c : odd) {
        errno = c.error;
        EXPECT_EQ(client.getLastSockErr("p"), static_cast<unsigned int>(c.error));
        EXPECT_STREQ(client.GetLastErrorText(), c.text);
    }
}

TEST_F(SocketTest, RefusesADescriptorThatSelectCannotTake)
{
    RawPeer waiting(listening.GetLocalPort());
    {
        DescriptorsBelow const full(FD_SETSIZE);
        EXPECT_EQ(listening.AcceptClient(), nullptr);
        EXPECT_EQ(uSocket().ServerCreate(0), 1U);
        EXPECT_EQ(uSocket().ClientCreate("127.0.0.1", listening.GetLocalPort()), 2U);
    }
    EXPECT_TRUE(waiting.seesEnd());
    EXPECT_EQ(uSocket().ClientCreate("127.0.0.1", listening.GetLocalPort()), 0U);
}

// Reads and writes block for long while signals rain: none may fail, and not a byte may go missing.
TEST_F(SocketTest, GoesOnWhenASignalInterruptsIt)
{
    constexpr unsigned int total = 24 << 20;
    std::thread slowReader([&] {
        std::vector<unsigned char> chunk(1 << 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        for (unsigned int done = 0, got = 0; done < total; done += got)
            ASSERT_EQ(accepted->ReadData(chunk.data(), 1 << 20, 0, &got), 0U);
        unsigned int sent = 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(accepted->WriteData(chunk.data(), 1, 0, &sent), 0U);
    });
    unsigned int const before = SignalStorm::handled();
    {
        SignalStorm const storm;
        std::vector<unsigned char> data(total);
        for (unsigned int done = 0; done < total; done += count)
            ASSERT_EQ(client.WriteData(data.data(), total - done, done, &count), 0U)
                << client.GetLastErrorText();
        EXPECT_EQ(client.ReadData(bytes, 1, 0, &count), 0U) << client.GetLastErrorText();
    }
    slowReader.join();
    EXPECT_GT(SignalStorm::handled(), before + 20);
}

} // namespace
