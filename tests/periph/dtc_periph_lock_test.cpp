#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_lock.h"
#include "platform/platform.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;

namespace {

bool isFileThere()
{
    return access(PLATFORM::path("/var/lock/i2c").c_str(), F_OK) == 0;
}

/// Runs the body in a child process; its end is waited for with endOf.
pid_t inChild(std::function<void()> const& body)
{
    pid_t const child = fork();
    if (child == 0) {
        body();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    return child;
}

int endOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

void expectTimeout(unsigned int timeout, unsigned int interval)
{
    try {
        I2C_LOCK().acquire(timeout, interval);
        ADD_FAILURE() << "acquired";
    } catch (Exception const& error) {
        EXPECT_EQ(error.status(), Timeout);
        EXPECT_THAT(error.what(),
                    testing::MatchesRegex("dtc_periph_lock\\([0-9]+\\) : timeout : /var/lock/i2c"));
    }
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
    I2C_LOCK lock;
    int opened[2];
    ASSERT_EQ(pipe(opened), 0);
    pid_t const holder = inChild([&] {
        LockHold const hold(lock, 1000, 1);
        EXPECT_EQ(write(opened[1], "x", 1), 1);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    });
    char byte = 0;
    ASSERT_EQ(read(opened[0], &byte, 1), 1);
    LockHold const hold(lock, 0, 1);
    EXPECT_EQ(endOf(holder), 0);
}

TEST(LockTest, LetsInOneOfTwoProcessesWithFourThreadsEach)
{
    constexpr int rounds = 250;
    auto* const holders = static_cast<std::atomic<int>*>(
        mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    auto const turns = [holders] {
        for (int i = 0; i < rounds; ++i) {
            I2C_LOCK lock;
            LockHold const hold(lock, 60'000, 1);
            EXPECT_EQ(++*holders, 1);
            --*holders;
            ++holders[1];
        }
    };
    auto const fourThreads = [&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(turns);
        for (std::thread& thread : threads)
            thread.join();
    };
    pid_t const first = inChild(fourThreads);
    pid_t const second = inChild(fourThreads);
    EXPECT_EQ(endOf(first), 0);
    EXPECT_EQ(endOf(second), 0);
    EXPECT_EQ(holders[1], 2 * 4 * rounds);
    EXPECT_FALSE(isFileThere());
    munmap(holders, 4096);
}

TEST(LockTest, StaysLockedByAHolderThatWasKilled)
{
    int opened[2];
    ASSERT_EQ(pipe(opened), 0);
    pid_t const holder = inChild([&] {
        I2C_LOCK lock;
        lock.acquire(1000, 1);
        EXPECT_EQ(write(opened[1], "x", 1), 1);
        pause();
    });
    char byte = 0;
    ASSERT_EQ(read(opened[0], &byte, 1), 1);
    kill(holder, SIGKILL);
    EXPECT_EQ(endOf(holder), SIGKILL);
    expectTimeout(30, 10);
    unlink(PLATFORM::path("/var/lock/i2c").c_str());
    I2C_LOCK lock;
    LockHold const hold(lock, 10, 10);
}

} // namespace
