#include "adapter/skylark_io_adapter.h"

#include "adapter/dtc_io.h"
#include "adapter/skylark_io_adapter_connection.h"
#include "tests/support/descriptors.h"
#include "tests/support/memory_requests.h"
#include "tests/support/signal_storm.h"

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/select.h>
#include <thread>
#include <tuple>

using namespace KORVA::DTC;
using namespace testing_support;

namespace {

static_assert(sizeof(DTC_IO_STATUS) == 4 && DTC_IO_STATUS(-1) < 0, "the C interface's width");

void expectNone(DTC_IO_STATUS status, char const* reason)
{
    EXPECT_EQ(status, DTC_IO_NO_CONNECTION);
    EXPECT_STREQ(DTC_Get_Error(), reason);
}

class AdapterTest : public testing::Test
{
protected:
    skylark_IOAdapter adapter;
    std::string host;
    unsigned int port = 1;
};

TEST_F(AdapterTest, LooksUpServicesAndSplitsAddresses)
{
    std::pair<char const*, char const*> const cases[] = {{"skylark0:3232235876", "192.168.1.100"},
                                                         {"a:b:0X7f000001junk", "127.0.0.1"},
                                                         {"0177.0.0.1", "0.0.0.127"},
                                                         {"0x", "0.0.0.0"},
                                                         {"4294967295", "255.255.255.255"},
                                                         {"4294967296", ""},
                                                         {"0xg", ""},
                                                         {"08", "0.0.0.0"}};
    for (auto const& [address, expected] : cases) {
        EXPECT_TRUE(adapter.lookup_service(address, "dtc_io", host, port));
        EXPECT_EQ(host, expected) << address;
        EXPECT_EQ(port, 55755U);
    }
    EXPECT_TRUE(adapter.lookup_service("1", "dtc_conf", host, port));
    EXPECT_EQ(port, 55756U);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(adapter.lookup_service("1", "DTC_IO", host, port));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unknown service requested: DTC_IO\n");
    EXPECT_EQ(host + std::to_string(port), "0");

    std::tuple<char const*, char const*, unsigned int> const splits[] = {
        {"see tcp://10.0.0.2:55756,x:1", "10.0.0.2", 55756},
        {"55755", "", 55755},
        {"host:12,3:4", "host", 12},
        {nullptr, "", 0}};
    for (auto const& [address, expectedHost, expectedPort] : splits) {
        adapter.split_address(address, host, port);
        EXPECT_EQ(host, expectedHost);
        EXPECT_EQ(port, expectedPort);
    }
}

TEST_F(AdapterTest, HandsOutConnectionsOrTheReasonForNone)
{
    void* server = nullptr;
    void* client = &client;
    expectNone(DTC_IO_Create("DTC_IO", 0, &server), "Failed to look up DTC_IO");
    expectNone(DTC_IO_Open("box:", "dtc_io", &client), "Failed to look up box:::dtc_io");
    EXPECT_EQ(client, nullptr);
    expectNone(DTC_IO_Open("0x7F000001", "dtc_conf", &client),
               "Error on socket connect: Connection refused (ECONNREFUSED): Check the IP address");
    ASSERT_EQ(DTC_IO_Create("dtc_io", 0, &server), DTC_IO_SUCCESS) << DTC_Get_Error();
    expectNone(DTC_IO_Create("dtc_io", 0, &client),
               "Error binding socket: Address already in use (EADDRINUSE)");
    {
        DescriptorsBelow const full(FD_SETSIZE);
        expectNone(DTC_IO_Create("dtc_conf", 0, &client), "Failed to create socket");
        expectNone(DTC_IO_Open("x:2130706433", "dtc_io", &client), "Failed to create socket");
    }
    {
        DescriptorsBelow const allButOne(FD_SETSIZE - 1); // which the socket takes
        expectNone(DTC_IO_Create("dtc_conf", 0, &client), "Failed to create socket");
    }
    EXPECT_EQ(DTC_IO_Receive_Ready(server, 0), DTC_IO_DISCONNECTED) << "nobody was let near it";
    EXPECT_EQ(DTC_Get_Status(), 0);

    ASSERT_EQ(DTC_IO_Open("x:2130706433", "dtc_io", &client), DTC_IO_SUCCESS);
    EXPECT_EQ(DTC_IO_Receive_Ready(client, 0), DTC_IO_TIMEOUT);
    EXPECT_STREQ(DTC_Get_Error(), "Select() timed out");
    {
        SignalStorm const storm;
        EXPECT_EQ(DTC_IO_Receive_Ready(client, 20'000), DTC_IO_FAILED);
        EXPECT_EQ(DTC_IO_Local_Id(client, nullptr), DTC_IO_INVALID) << "and sets no text";
        EXPECT_STREQ(DTC_Get_Error(), "Select() returned (-1)");
    }
    EXPECT_EQ(DTC_IO_Receive(client, nullptr, &port, &port, 4, &port, 0), DTC_IO_INVALID);
    auto* state = static_cast<DTC_IO_LOADERIF*>(client);
    EXPECT_EQ(DTC_IO_Get_State(client, &state), DTC_IO_SUCCESS);
    EXPECT_EQ(state, nullptr);
    EXPECT_EQ(DTC_IO_Get_State(server, nullptr), DTC_IO_SUCCESS);
    DTC_IO_Close(client);
    DTC_IO_Close(client); // the adapter holds it no more
    DTC_IO_Close(nullptr);
    EXPECT_EQ(DTC_IO_Receive_Ready(server, 20'000), DTC_IO_SUCCESS) << "the farewell";
    EXPECT_EQ(DTC_IO_Receive(server, &port, &port, &port, 4, &port, 20'000), DTC_IO_DISCONNECTED);
    EXPECT_STREQ(DTC_Get_Error(), "Client has disconnected");

    ASSERT_EQ(DTC_IO_Open("0x7F000001", "dtc_io", &client), DTC_IO_SUCCESS);
    EXPECT_EQ(DTC_IO_Receive_Ready(server, 0), DTC_IO_TIMEOUT);
    adapter.close(static_cast<IOAdapter_Connection*>(server)); // not its own: left alone
    EXPECT_EQ(DTC_IO_Local_Id(server, &port), DTC_IO_SUCCESS);
    EXPECT_EQ(port, 55755U);
    DTC_IO_Close(server);
    EXPECT_EQ(DTC_IO_Receive(client, &port, &port, &port, 4, &port, 20'000), DTC_IO_DISCONNECTED);
    DTC_IO_Close(client);
    EXPECT_NE(adapter.create("dtc_io", 0), nullptr) << "the port is free again";
    EXPECT_EQ(std::signal(SIGPIPE, SIG_IGN), SIG_IGN);
}

// Whichever request for memory is the one that fails.
TEST_F(AdapterTest, GivesNoConnectionWhenMemoryRunsOut)
{
    void* server = nullptr;
    ASSERT_EQ(DTC_IO_Create("dtc_io", 0, &server), DTC_IO_SUCCESS) << "and the network is set up";
    std::function<DTC_IO_STATUS(void**)> const makers[] = {
        [](void** made) { return DTC_IO_Open("0x7F000001", "dtc_io", made); },
        [](void** made) { return DTC_IO_Create("dtc_conf", 0, made); }};
    for (auto const& make : makers) {
        void* made = &made;
        int refusals = 0;
        for (int granted = 0; made == &made; ++granted) {
            memoryRequestsLeft = granted;
            DTC_IO_STATUS const status = make(&made);
            memoryRequestsLeft = -1;
            DTC_IO_Receive_Ready(server, 0); // few clients can wait to be accepted
            EXPECT_EQ(status, made == nullptr ? DTC_IO_NO_CONNECTION : DTC_IO_SUCCESS);
            if (made == nullptr) {
                ++refusals;
                made = &made;
            }
        }
        EXPECT_GT(refusals, 1);
        DTC_IO_Close(made);
    }
    DTC_IO_Close(server);
}

// Whoever fails to create a server, or closes a connection, gives it up whole, in any thread.
TEST_F(AdapterTest, KeepsTheOtherConnectionsWhicheverIsClosedByWhom)
{
    void* server = nullptr;
    void* clients[3] = {};
    ASSERT_EQ(DTC_IO_Create("dtc_io", 0, &server), DTC_IO_SUCCESS);
    for (void*& client : clients) {
        ASSERT_EQ(DTC_IO_Open("0x7F000001", "dtc_io", &client), DTC_IO_SUCCESS);
        EXPECT_EQ(DTC_IO_Receive_Ready(server, 0), DTC_IO_TIMEOUT) << "accepted";
    }
    std::size_t const descriptors = openDescriptors();
    DTC_IO_Close(clients[1]);
    for (void* const client : {clients[0], clients[2]}) {
        unsigned int sender = 0;
        EXPECT_EQ(DTC_IO_Send_V2(client, 0, 7, &port, 4, nullptr), DTC_IO_SUCCESS);
        EXPECT_EQ(DTC_IO_Receive(server, &sender, &port, &port, 4, &port, 20'000), DTC_IO_SUCCESS);
        EXPECT_EQ(DTC_IO_Local_Id(client, &port), DTC_IO_SUCCESS);
        EXPECT_EQ(sender, port) << "both ends know the client by one number";
    }
    for (void* const connection : {clients[2], clients[0], server}) {
        std::thread([&] {
            void* second = nullptr;
            EXPECT_NE(DTC_IO_Create("dtc_io", 0, &second), DTC_IO_SUCCESS);
            DTC_IO_Close(connection);
        }).join();
    }
    EXPECT_EQ(openDescriptors(), descriptors - 8); // the server has two, and one a client
}

// Two threads fail on one connection, and each hands the text on while the other one fails again.
TEST(ErrorTextTest, CanBeCopiedWhileOtherThreadsFail)
{
    ErrorText connection;
    ErrorText last;
    auto const fail = [&](char digit) {
        for (int i = 0; i < 5000; ++i) {
            connection.set(std::string(digit == '1' ? 40 : 600, digit));
            last.set(connection);
        }
    };
    std::thread other(fail, '2');
    fail('1');
    other.join();
    char const* const held = last.c_str();
    std::string const text = held;
    for (int failures = 0; failures < 4; ++failures)
        last.set("later");
    EXPECT_EQ(text, held) << "it outlives the next few";
    EXPECT_EQ(text, std::string(text[0] == '1' ? 40 : 600, text[0]));
}

} // namespace
