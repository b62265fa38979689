#include "adapter/skylark_io_adapter_policy.h"

#include "platform/simulated/faults.h"
#include "tests/adapter/server_fixture.h"
#include "tests/support/box_state.h"

#include <filesystem>
#include <functional>

using namespace KORVA::DTC;
using namespace PLATFORM::FAULTS;
using namespace testing_support;

namespace {

class PolicyTest : public testing::Test
{
protected:
    PolicyTest()
    {
        std::signal(SIGPIPE, SIG_IGN);
        PLATFORM::renewBox();
        conf.get_local_id(&confPort);
    }

    /// Whether the server admits a client from the address, which then stays connected.
    bool admits(skylark_Server& server, char const* address)
    {
        unsigned int port = 0;
        server.get_local_id(&port);
        peers.emplace_back(port, address).send(message(address, 1));
        if (receiveFrom(server, 100).payload == address)
            return true;
        EXPECT_TRUE(peers.back().seesEnd());
        peers.pop_back();
        return false;
    }

    static void setFilter(std::string const& filter)
    {
        std::fstream(PLATFORM::boxRoot() + "/dev/i2c/eeprom") << "_ipFilter=" + filter + "\n"
                                                              << '\0';
    }

    /// How often the first LED has changed since the last call.
    static int changes()
    {
        int count = 0;
        int before = 0;
        for (std::string const& line : newTransfers()) {
            int const value = std::stoi(line.substr(line.size() - 2), nullptr, 16);
            if (line.rfind("read  bit_io 0x1a 1: ", 0) == 0)
                before = value;
            else if (line.rfind("write bit_io 0x1a 2: 01 ", 0) == 0)
                count += (value ^ before) & 1;
        }
        return count;
    }

    std::string const record = PLATFORM::boxRoot() + "/tmp/ip_client";
    std::string const busLock = PLATFORM::boxRoot() + "/var/lock/i2c";
    std::unique_ptr<skylark_Server> io =
        std::make_unique<skylark_Server_SingleAccess>(listenOn(0), 0);
    skylark_Server_SharedAccess conf{listenOn(0), 0};
    unsigned int confPort = 0;
    std::list<RawPeer> peers;
};

TEST_F(PolicyTest, OneMachineAtATimeHoldsTheBox)
{
    EXPECT_TRUE(admits(conf, "127.0.0.7") && admits(conf, "127.0.0.8"));
    EXPECT_FALSE(std::filesystem::exists(record));
    peers.clear();
    EXPECT_TRUE(admits(*io, "127.0.0.5"));
    EXPECT_EQ(boxFile("/tmp/ip_client"), "127.0.0.5\n");
    EXPECT_EQ(changes(), 0);
    EXPECT_FALSE(admits(*io, "127.0.0.6"));
    EXPECT_EQ(changes(), 2) << "one blink";
    EXPECT_TRUE(admits(*io, "127.0.0.5")) << "its second connection";
    peers.pop_front();
    peers.front().send(message("stays", 1));
    EXPECT_EQ(receiveFrom(*io, patienceMs).payload, "stays");
    EXPECT_EQ(boxFile("/tmp/ip_client"), "127.0.0.5\n");
    peers.clear();
    EXPECT_EQ(receiveFrom(*io, patienceMs).status, DTC_IO_DISCONNECTED);
    EXPECT_EQ(boxFile("/tmp/ip_client"), "none\n");
    EXPECT_TRUE(admits(*io, "127.0.0.6"));
    io = std::make_unique<skylark_Server_SingleAccess>(listenOn(0), 0);
    EXPECT_FALSE(admits(*io, "127.0.0.5")) << "a server that goes leaves the record";
    EXPECT_TRUE(admits(*io, "127.0.0.6"));
    std::filesystem::remove(record);
    setBoxFile("/tmp/bystander", "127.0.0.6\n");
    std::filesystem::create_symlink("bystander", record); // it cannot be written any more
    peers.clear();
    EXPECT_EQ(receiveFrom(*io, patienceMs).status, DTC_IO_DISCONNECTED);
    EXPECT_TRUE(admits(*io, "127.0.0.5")) << "nor read";
    EXPECT_EQ(boxFile("/tmp/bystander"), "127.0.0.6\n");
}

TEST_F(PolicyTest, AppliesANewFilterToTheNextClient)
{
    setFilter("127.0.0.5,127.0.1");
    EXPECT_TRUE(admits(*io, "127.0.0.5") && admits(conf, "127.0.1.9"));
    EXPECT_EQ(changes(), 0);
    EXPECT_FALSE(admits(conf, "127.0.0.6"));
    EXPECT_EQ(changes(), 4) << "two blinks";
    EXPECT_FALSE(admits(*io, "127.0.0.6"));
    EXPECT_EQ(changes(), 2) << "busy comes first";
    setFilter("");
    EXPECT_FALSE(admits(conf, "127.0.0.5")) << "no pattern admits anybody";
    setFilter("none");
    EXPECT_TRUE(admits(conf, "127.0.0.6"));
}

TEST_F(PolicyTest, RefusesInSilenceAndWithoutHarmWhatItCannotJudge)
{
    EXPECT_TRUE(admits(conf, "127.0.0.5"));
    std::pair<std::function<void()>, std::function<void()>> const cases[] = {
        {[] { onTransfer(1, Transfer::Fails, true); }, clear},
        {[] { setenv("SAFEMODE", "1", 1); }, [] { unsetenv("SAFEMODE"); }},
        {[] { setBoxFile("/var/lock/i2c", ""); }, [this] { std::filesystem::remove(busLock); }}};
    for (auto const& [spoil, repair] : cases) {
        spoil();
        EXPECT_FALSE(admits(conf, "127.0.0.6"));
        peers.front().send(message("still here", 2));
        EXPECT_EQ(receiveFrom(conf, patienceMs).payload, "still here");
        repair();
        EXPECT_EQ(changes(), 0);
        EXPECT_TRUE(admits(conf, "127.0.0.6"));
    }
    setFilter("127.0.0.5");
    newTransfers();
    EXPECT_FALSE(admits(conf, "127.0.0.6"));
    auto const transfers = static_cast<unsigned int>(newTransfers().size());
    onTransfer(transfers - 3, Transfer::Fails); // the last one of the third change
    EXPECT_FALSE(admits(conf, "127.0.0.6"));
    EXPECT_EQ(newTransfers().size(), transfers - 3) << "it ends the blinking";
    EXPECT_FALSE(std::filesystem::exists(busLock));
}

// The server's lock is held while a client is judged: the others' messages wait, but none is lost,
// torn or overtaken.
TEST_F(PolicyTest, KeepsItsPromisesWhileItJudges)
{
    setFilter("127.0.0.5");
    std::atomic<bool> done{false};
    std::thread clients([&] {
        RawPeer peer(confPort, "127.0.0.5");
        for (char const* address : {"127.0.0.6", "127.0.0.5", "127.0.0.6"}) {
            RawPeer other(confPort, address);
            std::string const greeting = message("hi", 1);
            // Whom the server has turned away already cannot send.
            ::send(other.descriptor(), greeting.data(), greeting.size(), MSG_NOSIGNAL);
            for (unsigned int i = 0; i < 100; ++i)
                peer.send(message("message", i));
            for (unsigned int i = 0; i < 100; ++i)
                EXPECT_EQ(peer.receive(23), message("message", i));
            EXPECT_EQ(other.receive(18), address[8] == '5' ? greeting : "");
        }
        done = true;
    });
    while (!done) {
        Incoming const incoming = receiveFrom(conf, 20);
        sendTo(conf, incoming.clientId, incoming.tag, incoming.payload);
    }
    clients.join();
}

} // namespace
