#include "adapter/skylark_io_adapter.h"

#include "adapter/skylark_io_adapter_connection.h"
#include "tests/support/descriptors.h"
#include "tests/support/exchange.h"
#include "util/usocket.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/select.h>
#include <tuple>

using namespace KORVA::DTC;
using namespace testing_support;

namespace {

class AdapterTest : public testing::Test
{
protected:
    unsigned int idOf(IOAdapter_Connection* connection)
    {
        unsigned int id = 0;
        connection->get_local_id(&id);
        return id;
    }

    skylark_IOAdapter adapter;
};

TEST_F(AdapterTest, LooksUpServicesAndNumberAddresses)
{
    std::tuple<char const*, char const*, bool, char const*, unsigned int> const cases[] = {
        {"skylark0:3232235876", "dtc_io", true, "192.168.1.100", 55755},
        {"0xC0A80164", "dtc_conf", true, "192.168.1.100", 55756},
        {"a:b:0X7f000001junk", "dtc_io", true, "127.0.0.1", 55755},
        {"0177.0.0.1", "dtc_io", true, "0.0.0.127", 55755},
        {"10.0.0.2", "dtc_io", true, "0.0.0.10", 55755},
        {"0", "dtc_io", true, "0.0.0.0", 55755},
        {"0x", "dtc_io", true, "0.0.0.0", 55755},
        {"4294967295", "dtc_io", true, "255.255.255.255", 55755},
        {"4294967296", "dtc_io", true, "", 55755},
        {"skylark0", "dtc_io", true, "", 55755},
        {"-1", "dtc_io", true, "", 55755},
        {"0xg", "dtc_io", true, "", 55755},
        {"08", "dtc_io", true, "0.0.0.0", 55755},
        {"x:", "dtc_io", true, "", 55755},
        {"1", "DTC_IO", false, "", 0}};
    for (auto const& [address, service, known, expectedHost, expectedPort] : cases) {
        std::string host = "old";
        unsigned int port = 1;
        testing::internal::CaptureStdout();
        EXPECT_EQ(adapter.lookup_service(address, service, host, port), known);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  known ? "" : "Unknown service requested: DTC_IO\n");
        EXPECT_EQ(host, expectedHost) << address;
        EXPECT_EQ(port, expectedPort) << address;
    }
}

TEST_F(AdapterTest, SplitsTcpAddresses)
{
    std::tuple<char const*, char const*, unsigned int> const cases[] = {
        {"tcp://10.0.0.2:55755", "10.0.0.2", 55755},
        {"see tcp://10.0.0.2:55756,x:1", "10.0.0.2", 55756},
        {"55755", "", 55755},
        {"host:12,3:4", "host", 12},
        {"host:", "host", 0},
        {nullptr, "", 0}};
    for (auto const& [address, expectedHost, expectedPort] : cases) {
        std::string host = "old";
        unsigned int port = 1;
        adapter.split_address(address, host, port);
        EXPECT_EQ(host, expectedHost);
        EXPECT_EQ(port, expectedPort);
    }
}

TEST_F(AdapterTest, SaysWhyItMadeNoConnection)
{
    EXPECT_STREQ(adapter.get_error(), "");
    EXPECT_EQ(adapter.create("DTC_IO", 0), nullptr);
    EXPECT_STREQ(adapter.get_error(), "Failed to look up DTC_IO");
    for (char const* address : {"", "box", "box:"}) {
        EXPECT_EQ(adapter.open(address, "dtc_io"), nullptr);
        EXPECT_EQ(adapter.get_error(), "Failed to look up " + std::string(address) + "::dtc_io");
    }
    EXPECT_EQ(adapter.open("0x7F000001", "dtc_conf"), nullptr);
    EXPECT_STREQ(adapter.get_error(), "Error on socket connect: Connection refused "
                                      "(ECONNREFUSED): Check the IP address");
    IOAdapter_Connection* const server = adapter.create("dtc_io", 0);
    ASSERT_NE(server, nullptr) << adapter.get_error();
    EXPECT_EQ(adapter.create("dtc_io", 0), nullptr);
    EXPECT_STREQ(adapter.get_error(), "Error binding socket: Address already in use (EADDRINUSE)");
    {
        DescriptorsBelow const full(FD_SETSIZE);
        EXPECT_EQ(adapter.create("dtc_conf", 0), nullptr);
        EXPECT_STREQ(adapter.get_error(), "Failed to create socket");
        EXPECT_EQ(adapter.open("x:2130706433", "dtc_io"), nullptr);
        EXPECT_STREQ(adapter.get_error(), "Failed to create socket");
    }
    EXPECT_EQ(server->receive_ready(0), DTC_IO_DISCONNECTED) << "nobody was let near the server";
}

TEST_F(AdapterTest, OwnsItsConnectionsUntilTheyAreClosed)
{
    EXPECT_TRUE(adapter.initialize());
    std::size_t const before = openDescriptors();
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_IGN);
    IOAdapter_Connection* const io = adapter.create("dtc_io", 0);
    IOAdapter_Connection* const conf = adapter.create("dtc_conf", 10);
    IOAdapter_Connection* const client = adapter.open("any:0x7F000001", "dtc_conf");
    ASSERT_TRUE(io != nullptr && conf != nullptr && client != nullptr) << adapter.get_error();
    EXPECT_EQ(idOf(io), 55755U);
    EXPECT_EQ(idOf(conf), 55756U);
    adapter.close(nullptr);
    skylark_IOAdapter other;
    other.close(io); // not its own: left alone
    adapter.close(conf);
    EXPECT_EQ(receiveFrom(*client, 20'000).status, DTC_IO_DISCONNECTED);
    adapter.close(conf); // gone already
    EXPECT_EQ(idOf(io), 55755U);
    adapter.close(io);
    EXPECT_NE(adapter.create("dtc_io", 0), nullptr) << "the port is free again";
    adapter.close(client);
    {
        skylark_IOAdapter leaving;
        EXPECT_NE(leaving.create("dtc_conf", 0), nullptr);
        EXPECT_NE(leaving.open("0x7F000001", "dtc_conf"), nullptr);
    }
    EXPECT_EQ(openDescriptors(), before + 1) << "the adapter that went took its connections along";
}

} // namespace
