#include "loader/io_adapter_listener.h"

#include "tests/loader/adapter_fixture.h"
#include "tests/support/child.h"

#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <new>
#include <vector>

using namespace KORVA::DTC;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using testing_support::Child;

namespace {

class Logger final : public DTC_Logger
{
public:
    void log_info(char const* format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        add("info: ", format, arguments);
        va_end(arguments);
    }
    void log_error(char const* format, ...) override
    {
        va_list arguments;
        va_start(arguments, format);
        add("error: ", format, arguments);
        va_end(arguments);
        text += '\n';
    }

    std::string text;

private:
    void add(char const* level, char const* format, va_list arguments)
    {
        char line[256];
        std::vsnprintf(line, sizeof line, format, arguments);
        text += std::string(level) + line;
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
    CaptureStdout();
    {
        IOAdapterListener listener(devices, "dtc_io", logger);
        EXPECT_EQ(listener.listen(0xFFFFFFFF), nullptr);
        devices = {R"(\\.\missing0)", "x", ADAPTERS "one7", "", R"(a\\.\b\\.\c0)"};
        IOAdapterListener none(devices, "refused", logger);
        EXPECT_FALSE(none.add_connection("missing1", "", logger));
        EXPECT_TRUE(none.add_connection(ADAPTERS "two0", "", logger));
        EXPECT_EQ(none.connection_count(), 1U);
    }
    EXPECT_EQ(GetCapturedStdout(),
              "No connections exist for dtc_io\nLoad of missing_io.so failed\n"
              "Load of _io.so failed\nfailure 1\nLoad of _io.so failed\n"
              "Load of b\\\\.\\c_io.so failed\n"
              "No connections exist for refused\nLoad of missing_io.so failed\n");
    EXPECT_EQ(logger.text,
              "info: Listening to 0 connections\nerror: Load of missing_io.so failed\n"
              "error: Load of _io.so failed\nerror: failure 1\nerror: Load of _io.so failed\n"
              "error: Load of b\\\\.\\c_io.so failed\n"
              "info: Listening to 0 connections\nerror: Load of missing_io.so failed\n");
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
    int refusals = 0;
    for (bool added = false; !added;) {
        testing_support::memoryRequestsLeft = refusals++;
        try {
            added = listener.add_connection(ADAPTERS "one0", "s", logger);
        } catch (std::bad_alloc const&) {
        }
        testing_support::memoryRequestsLeft = -1;
    }
    std::string const log = takeLog();
    EXPECT_GE(testing_support::countIn(log, "close"), 4)
        << "two requests for the connection and two for the record were refused in turn";
    EXPECT_EQ(testing_support::countIn(log, "open"), testing_support::countIn(log, "close") + 1);
    EXPECT_EQ(listener.connection_count(), 1U);
}

// The second is a copy of the first and lets out the same names. The clients are processes of their
// own.
TEST_F(ListenerTest, ServesTheClientsOfTwoAdaptersInOneProcess)
{
    constexpr int messages = 1500;
    devices = {R"(\\.\skylark0)"};
    auto listener = std::make_unique<IOAdapterListener>(devices, "dtc_io", logger);
    ASSERT_TRUE(listener->add_connection(ADAPTERS "twin0", "dtc_conf", logger)) << logger.text;
    ASSERT_EQ(listener->connection_count(), 2U) << logger.text;
    std::vector<std::unique_ptr<Child>> clients;
    for (char const* service : {"dtc_io", "dtc_conf", "dtc_io", "dtc_conf"})
        clients.push_back(std::make_unique<Child>(
            std::vector<std::string>{PROXY_CLIENT, service, std::to_string(messages)}));
    std::vector<unsigned int> buffer(16'384);
    std::map<IOAdapter_Connection*, int> echoed;
    for (int left = 4 * messages; left > 0;) {
        unsigned int client = 0;
        unsigned int tag = 0;
        unsigned int length = 0;
        auto* const ready = listener->listen(2);
        if (ready == nullptr ||
            ready->receive(&client, &tag, buffer.data(), 65'536, &length, 0) != DTC_IO_SUCCESS)
            continue; // a client has gone
        ASSERT_EQ(ready->send(client, tag, buffer.data(), length, &length), DTC_IO_SUCCESS)
            << ready->get_error();
        ++echoed[ready];
        --left;
    }
    for (auto& client : clients)
        EXPECT_EQ(client->wait(), 0) << client->output();
    for (auto const& [connection, count] : echoed)
        EXPECT_EQ(count, 2 * messages);
    listener.reset();
    EXPECT_FALSE(isLoaded("skylark") || isLoaded("twin"));
}

} // namespace
