#include "loader/io_adapter_listener.h"

#include "tests/loader/adapter_fixture.h"
#include "tests/support/exchange.h"
#include "tests/support/memory_requests.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <random>
#include <set>
#include <thread>

using namespace KORVA::DTC;
using namespace testing_support;

namespace {

/// Writes failures to standard output, where the listener itself writes too.
class Logger final : public DTC_Logger
{
public:
    void log_info(char const* format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        std::vprintf(format, arguments);
        va_end(arguments);
    }
    void log_error(char const* format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        std::vprintf(format, arguments);
        va_end(arguments);
        std::puts(" (logged)");
    }
};

class ListenerTest : public AdapterTest
{
protected:
    Logger logger;
    std::vector<std::string> devices;
};

TEST_F(ListenerTest, LeavesOutWhatFailsAndSaysSo)
{
    testing::internal::CaptureStdout();
    devices = {R"(\\.\missing0)", "x", ADAPTERS "one7", "", R"(a\\.\b\\.\c0)"};
    IOAdapterListener listener(devices, "refused", logger);
    EXPECT_EQ(listener.listen(0xFFFFFFFF), nullptr);
    EXPECT_FALSE(listener.add_connection("missing1", "", logger));
    EXPECT_TRUE(listener.add_connection(ADAPTERS "two0", "", logger));
    EXPECT_EQ(listener.connection_count(), 1U);
    std::string expected;
    for (std::string const text :
         {"Load of missing_io.so failed", "Load of _io.so failed", "failure 1",
          "Load of _io.so failed", "Load of b\\\\.\\c_io.so failed"})
        expected += text + " (logged)\n" + text + "\n";
    expected += "No connections exist for refused\nListening to 0 connections\n"
                "Load of missing_io.so failed (logged)\nLoad of missing_io.so failed\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
    EXPECT_EQ(takeLog(), "one create 10\none open  refused\none unloaded\n"
                         "two create 10\ntwo open  \n");
}

TEST_F(ListenerTest, LeavesNothingOpenWhenMemoryRunsOut)
{
    IOAdapterListener listener(devices, "s", logger);
    bool added = false;
    int withoutRecord = 0;
    std::string log;
    for (int granted = 0; !added && granted < 100; ++granted) {
        memoryRequestsLeft = granted;
        bool isSilent = true;
        try {
            added = listener.add_connection(ADAPTERS "one0", "s", logger);
        } catch (std::bad_alloc const&) {
            isSilent = false;
        }
        memoryRequestsLeft = -1;
        std::string const lines = takeLog();
        withoutRecord += isSilent && lines.find("close") != std::string::npos ? 1 : 0;
        log += lines;
    }
    auto const count = [&log](std::string const& what) {
        std::size_t times = 0;
        for (std::size_t at = 0; (at = log.find(what, at)) != std::string::npos; ++at)
            ++times;
        return times;
    };
    EXPECT_EQ(withoutRecord, 2);
    EXPECT_GE(count("close"), 4U) << "and twice without memory for the connection";
    EXPECT_EQ(count("open"), count("close") + 1);
    EXPECT_EQ(listener.connection_count(), 1U);
}

TEST_F(ListenerTest, SharesTheTimeOutInTheOrderOfTheDevices)
{
    devices = {ADAPTERS "four0", ADAPTERS "one0", "missing0", ADAPTERS "three0"};
    {
        IOAdapterListener listener(devices, "s", logger);
        takeLog();
        EXPECT_EQ(listener.listen(100), nullptr);
        EXPECT_EQ(takeLog(), "four ready 1 33\none ready 1 33\nthree ready 1 33\n");
        ASSERT_TRUE(listener.add_connection(ADAPTERS "two0", "s", logger));
        takeLog();
        setenv("ADAPTER_READY", "two one", 1);
        receiveFrom(*listener.listen(100), 0);
        setenv("ADAPTER_READY", "two three", 1);
        receiveFrom(*listener.listen(3), 0);
        EXPECT_EQ(takeLog(), "four ready 1 25\none ready 1 25\none receive 1 64 0\n"
                             "four ready 1 0\none ready 1 0\nthree ready 1 0\n"
                             "three receive 1 64 0\n");
    }
    EXPECT_EQ(takeLog(), "four close 1\nfour unloaded\none close 1\none unloaded\n"
                         "three close 1\nthree unloaded\ntwo close 1\ntwo unloaded\n");
    EXPECT_FALSE(isLoaded("four") || isLoaded("one") || isLoaded("three") || isLoaded("two"));
}

/// Exchanges messages with a server, through this program's own copy of the library. The seed makes
/// the content this client's own.
void runClient(void* box, unsigned int seed, std::atomic<int>& running)
{
    std::minstd_rand random(seed);
    std::vector<unsigned int> words(8192);
    std::vector<unsigned int> reply(8192);
    for (unsigned int tag = 1; tag <= 1500; ++tag) {
        words.resize(1U << random() % 14);
        std::generate(words.begin(), words.end(), std::ref(random));
        auto const size = static_cast<unsigned int>(4 * words.size());
        unsigned int from[3];
        EXPECT_EQ(DTC_IO_Send_V2(box, 0, tag, words.data(), size, nullptr), 0);
        EXPECT_EQ(DTC_IO_Receive(box, &from[0], &from[1], reply.data(), size, &from[2], 60'000), 0);
        EXPECT_TRUE(from[1] == tag && from[2] == size &&
                    std::equal(words.begin(), words.end(), reply.begin()));
    }
    --running;
}

// The second is a copy of the first and lets out the same names, and so does this program.
TEST_F(ListenerTest, ServesTheClientsOfTwoAdaptersInOneProcess)
{
    devices = {R"(\\.\skylark0)"};
    auto listener = std::make_unique<IOAdapterListener>(devices, "dtc_io", logger);
    ASSERT_TRUE(listener->add_connection(ADAPTERS "twin0", "dtc_conf", logger));
    std::vector<std::thread> clients;
    std::atomic<int> running{4};
    void* boxes[4];
    for (unsigned int i = 0; i < 4; ++i) {
        ASSERT_EQ(DTC_IO_Open("0x7F000001", i % 2 == 0 ? "dtc_io" : "dtc_conf", &boxes[i]), 0);
        clients.emplace_back(runClient, boxes[i], i + 1, std::ref(running));
    }
    std::set<IOAdapter_Connection*> served;
    while (running > 0) {
        auto* const ready = listener->listen(2);
        if (ready == nullptr)
            continue;
        Incoming const incoming = receiveFrom(*ready, 0, 1 << 15);
        sendTo(*ready, incoming.clientId, incoming.tag, incoming.payload);
        served.insert(ready);
    }
    for (auto& client : clients)
        client.join();
    EXPECT_EQ(served.size(), 2U);
    listener.reset();
    EXPECT_FALSE(isLoaded("skylark") || isLoaded("twin"));
    for (void* box : boxes)
        DTC_IO_Close(box);
}

} // namespace
