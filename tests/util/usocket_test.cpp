#include "tests/support/descriptors.h"
#include "util/usocket.h"

#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>

using KORVA::uSocket;
using namespace testing_support;

namespace {

/// A listening socket, a client of it and the server's end of that connection.
class SocketTest : public testing::Test
{
protected:
    uSocket listening;
    unsigned int const created = listening.ServerCreate(0);
    unsigned int const port = listening.GetLocalPort();
    uSocket client;
    unsigned int const connected =
        client.ClientCreate("127.0.0.1", port + 0x10000); // 16 bits count
    std::unique_ptr<uSocket> accepted{listening.AcceptClient()};
    unsigned char bytes[64] = {};
    unsigned int count = 99;
};

TEST_F(SocketTest, ReadsWhatIsThereAndReportsTheEnd)
{
    for (uSocket const* socket : {&listening, &client, accepted.get()}) {
        EXPECT_EQ(optionOf(socket->GetDescriptor(), IPPROTO_TCP, TCP_NODELAY), 1);
        EXPECT_EQ(fcntl(socket->GetDescriptor(), F_GETFD), FD_CLOEXEC);
    }
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
    client.Close();
    EXPECT_EQ(accepted->ReadData(bytes, 16, 0, &count), 5U);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(client.ReadData(bytes, 16, 0, &count), 4U) << "closed: not a lost connection";
    EXPECT_EQ(count, 0xFFFFFFFFU) << "what the system call returned";
    ASSERT_EQ(client.ClientCreate("127.0.0.1", port), 0U);
    accepted->Close();
    listening.Close();
    EXPECT_EQ(client.ReadData(bytes, 1, 0, &count), 5U) << "reset, though never accepted";
    EXPECT_EQ(listening.ServerCreate(port), 0U) << listening.GetLastErrorText();
}

TEST_F(SocketTest, SaysWhyItFailed)
{
    EXPECT_EQ(client.AcceptClient(), nullptr);
    EXPECT_STREQ(client.GetLastErrorText(), "AcceptClient() is only valid on server socket");
    EXPECT_EQ(uSocket().ClientCreate("localhost", port), 4U) << "no name is looked up";
    std::pair<int, char const*> const texts[] = {{EINVAL, "p: Invalid parameter (EIVAL)"},
                                                 {EACCES, "p: Unknown Socket Error (0xd)"}};
    for (auto const& [error, text] : texts) {
        errno = error;
        EXPECT_EQ(client.getLastSockErr("p"), static_cast<unsigned int>(error));
        EXPECT_STREQ(client.GetLastErrorText(), text);
    }
}

} // namespace
