#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_lock.h"
#include "platform/platform.h"
#include "tests/support/child.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;
using namespace testing_support;

namespace {

bool isFileThere()
{
    return access(PLATFORM::path("/var/lock/i2c").c_str(), F_OK) == 0;
}

void expectTimeout(unsigned int timeout, unsigned int interval)
{
    EXPECT_THAT([=] { I2C_LOCK().acquire(timeout, interval); },
                testing::ThrowsMessage<Exception>(testing::MatchesRegex(
                    "dtc_periph_lock\\([0-9]+\\) : timeout : /var/lock/i2c")));
}

TEST(LockTest, IsAFileAndAMutex)
{
    EXPECT_THROW(LOCK(nullptr), Exception);
    EXPECT_THROW(LOCK(""), Exception);
    I2C_LOCK lock;
    LOCK other("other");
    EXPECT_FALSE(isFileThere());
    lock.acquire(1000, 10);
    EXPECT_TRUE(isFileThere());
    {
        LockHold const hold(other, 10, 0); // another name, an interval of 0
        expectTimeout(5, 10);              // the same name, through another object
    }
    std::atomic<bool> acquired{false};
    std::thread thread([&] {
        LockHold const hold(other, 1, 1); // another name, but this process's mutex
        acquired = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(acquired);
    lock.release();
    thread.join();
    EXPECT_TRUE(acquired);
    EXPECT_FALSE(isFileThere());
    LockHold const again(lock, 10, 10);
}

TEST(LockTest, WaitsWithoutWorking)
{
    I2C_LOCK lock;
    LockHold const hold(lock, 1000, 10);
    auto const start = std::chrono::steady_clock::now();
    std::clock_t const before = std::clock();
    expectTimeout(1000, 10);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(LockTest, WaitsWithoutLimitForATimeOutOfZero)
{
    std::atomic<int>& opened = newSharedNumber();
    Fork holder([&] {
        I2C_LOCK lock;
        LockHold const hold(lock, 1000, 1);
        opened = 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    });
    awaitAtLeast(opened, 1);
    I2C_LOCK lock;
    LockHold const hold(lock, 0, 1);
    EXPECT_EQ(holder.wait(), 0);
}

TEST(LockTest, LetsInOneOfTwoProcessesWithFourThreadsEach)
{
    constexpr int rounds = 250;
    std::atomic<int>& holders = newSharedNumber();
    std::atomic<int>& turns = newSharedNumber();
    auto const takeTurns = [&] {
        for (int i = 0; i < rounds; ++i) {
            I2C_LOCK lock;
            LockHold const hold(lock, 60'000, 1);
            EXPECT_EQ(++holders, 1);
            --holders;
            ++turns;
        }
    };
    auto const fourThreads = [&] {
        std::thread threads[] = {std::thread(takeTurns), std::thread(takeTurns),
                                 std::thread(takeTurns), std::thread(takeTurns)};
        for (std::thread& thread : threads)
            thread.join();
    };
    Fork first(fourThreads);
    Fork second(fourThreads);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(turns, 2 * 4 * rounds);
    EXPECT_FALSE(isFileThere());
}

TEST(LockTest, StaysLockedByAHolderThatWasKilled)
{
    std::atomic<int>& opened = newSharedNumber();
    Fork holder([&] {
        I2C_LOCK lock;
        lock.acquire(1000, 1);
        opened = 1;
        pause();
    });
    awaitAtLeast(opened, 1);
    holder.signal(SIGKILL);
    EXPECT_EQ(holder.wait(), -SIGKILL);
    expectTimeout(30, 10);
    unlink(PLATFORM::path("/var/lock/i2c").c_str());
    I2C_LOCK lock;
    LockHold const hold(lock, 10, 10);
}

} // namespace
