#include "loader/io_adapter_listener.h"

#include "tests/loader/adapter_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <thread>
#include <vector>

using namespace KORVA::DTC;

namespace {

/// Writes to standard output, where the listener itself writes too.
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

class ListenerTest : public testing_support::AdapterTest
{
protected:
    Logger logger;
    std::vector<std::string> devices;
};

TEST_F(ListenerTest, LeavesOutWhatFailsAndSaysSo)
{
    testing::internal::CaptureStdout();
    {
        IOAdapterListener listener(devices, "dtc_io", logger);
        EXPECT_EQ(listener.listen(0xFFFFFFFF), nullptr);
        devices = {R"(\\.\missing0)", "x", ADAPTERS "one7", "", R"(a\\.\b\\.\c0)"};
        IOAdapterListener other(devices, "refused", logger);
        EXPECT_FALSE(other.add_connection("missing1", "", logger));
        EXPECT_TRUE(other.add_connection(ADAPTERS "two0", "", logger));
        EXPECT_EQ(other.connection_count(), 1U);
    }
    std::string expected = "No connections exist for dtc_io\nListening to 0 connections\n";
    for (std::string const text :
         {"Load of missing_io.so failed", "Load of _io.so failed", "failure 1",
          "Load of _io.so failed", "Load of b\\\\.\\c_io.so failed"})
        expected += text + " (logged)\n" + text + "\n";
    expected += "No connections exist for refused\nListening to 0 connections\n"
                "Load of missing_io.so failed (logged)\nLoad of missing_io.so failed\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
    EXPECT_EQ(takeLog(), "one create 10\none open  refused\none unloaded\n"
                         "two create 10\ntwo open  \ntwo close 1\ntwo unloaded\n");
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
        setReady("two one");
        auto* const second = listener.listen(100);
        EXPECT_EQ(takeLog(), "four ready 1 25\none ready 1 25\n");
        setReady("two three");
        auto* const third = listener.listen(3);
        EXPECT_EQ(takeLog(), "four ready 1 0\none ready 1 0\nthree ready 1 0\n");
        EXPECT_NE(second, third);
        unsigned int word = 0;
        for (auto* const connection : {second, third})
            EXPECT_EQ(connection->receive(&word, &word, &word, 4, &word, 0), 0);
        EXPECT_EQ(takeLog(), "one receive 1 4 0\nthree receive 1 4 0\n");
    }
    EXPECT_EQ(takeLog(), "four close 1\nfour unloaded\none close 1\none unloaded\n"
                         "three close 1\nthree unloaded\ntwo close 1\ntwo unloaded\n");
    EXPECT_FALSE(isLoaded("four") || isLoaded("one") || isLoaded("three") || isLoaded("two"));
}

TEST_F(ListenerTest, LeavesNothingOpenWhenMemoryRunsOut)
{
    IOAdapterListener listener(devices, "s", logger);
    bool added = false;
    for (int granted = 0; !added && granted < 100; ++granted) {
        testing_support::memoryRequestsLeft = granted;
        try {
            added = listener.add_connection(ADAPTERS "one0", "s", logger);
        } catch (std::bad_alloc const&) {
        }
        testing_support::memoryRequestsLeft = -1;
    }
    std::string const log = takeLog();
    auto const count = [&log](std::string const& what) {
        std::size_t times = 0;
        for (std::size_t at = 0; (at = log.find(what, at)) != std::string::npos; ++at)
            ++times;
        return times;
    };
    EXPECT_GE(count("close"), 4U)
        << "twice without memory for the connection, twice for the record";
    EXPECT_EQ(count("open"), count("close") + 1);
    EXPECT_EQ(listener.connection_count(), 1U);
}

/// Exchanges messages with a server, through this program's own copy of the library.
void exchange(void* box, unsigned int messages)
{
    std::minstd_rand random(messages);
    std::vector<unsigned int> words(8192);
    std::vector<unsigned int> reply(8192);
    for (unsigned int tag = 1; tag <= messages; ++tag) {
        unsigned int const size = 4U << random() % 14;
        std::generate_n(words.begin(), size / 4, std::ref(random));
        unsigned int server = 0;
        unsigned int replyTag = 0;
        unsigned int length = 0;
        ASSERT_EQ(DTC_IO_Send_V2(box, 0, tag, words.data(), size, nullptr), DTC_IO_SUCCESS);
        ASSERT_EQ(DTC_IO_Receive(box, &server, &replyTag, reply.data(), size, &length, 60'000),
                  DTC_IO_SUCCESS);
        ASSERT_TRUE(replyTag == tag && length == size &&
                    std::equal(words.begin(), words.begin() + size / 4, reply.begin()))
            << tag;
    }
}

// The second is a copy of the first and lets out the same names, and so does this program.
TEST_F(ListenerTest, ServesTheClientsOfTwoAdaptersInOneProcess)
{
    constexpr unsigned int messages = 1500;
    devices = {R"(\\.\skylark0)"};
    auto listener = std::make_unique<IOAdapterListener>(devices, "dtc_io", logger);
    ASSERT_TRUE(listener->add_connection(ADAPTERS "twin0", "dtc_conf", logger));
    ASSERT_EQ(listener->connection_count(), 2U);
    void* boxes[4];
    std::vector<std::thread> clients;
    std::atomic<int> running{4};
    for (unsigned int i = 0; i < 4; ++i) {
        ASSERT_EQ(DTC_IO_Open("0x7F000001", i % 2 == 0 ? "dtc_io" : "dtc_conf", &boxes[i]), 0);
        clients.emplace_back([&running, box = boxes[i], i] {
            exchange(box, messages + i);
            --running;
        });
    }
    std::vector<unsigned int> buffer(8192);
    std::map<IOAdapter_Connection*, unsigned int> echoed;
    while (running > 0) {
        unsigned int client = 0;
        unsigned int tag = 0;
        unsigned int length = 0;
        auto* const ready = listener->listen(2);
        if (ready == nullptr)
            continue;
        EXPECT_EQ(ready->receive(&client, &tag, buffer.data(), 32'768, &length, 0), 0);
        EXPECT_EQ(ready->send(client, tag, buffer.data(), length, &length), 0);
        ++echoed[ready];
    }
    for (auto& client : clients)
        client.join();
    EXPECT_EQ(echoed.size(), 2U);
    listener.reset();
    EXPECT_FALSE(isLoaded("skylark") || isLoaded("twin"));
    for (void* box : boxes)
        DTC_IO_Close(box);
}

} // namespace
