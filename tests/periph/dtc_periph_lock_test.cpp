#include "periph/dtc_periph_delay.h"
#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_lock.h"
#include "platform/platform.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/signal_storm.h"

#include <future>
#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <thread>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;
using namespace testing_support;
using namespace std::chrono_literals;

namespace {

TEST(DelayTest, LastsAtLeastAsLongAsAskedWhateverSignalsCome)
{
    SignalStorm const storm;
    auto const start = std::chrono::steady_clock::now();
    waitusec(300);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 300us);
    waitmsec(20);
    waitusec(20'000);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 40'300us);
}

std::string const file = PLATFORM::path("/var/lock/i2c");

void expectTimeout(unsigned int timeout, unsigned int interval)
{
    auto const start = std::chrono::steady_clock::now();
    EXPECT_THAT(
        [=] { I2C_LOCK().acquire(timeout, interval); },
        testing::ThrowsMessage<Exception>(testing::EndsWith(") : timeout : /var/lock/i2c")));
    EXPECT_GE(std::chrono::steady_clock::now() - start,
              std::max(timeout / interval, 1U) * interval * 1ms)
        << "a wait follows the last attempt too";
}

/// The files created in a directory since then.
class CreatedFiles
{
public:
    explicit CreatedFiles(std::string const& directory)
    {
        // Removals only to keep two creations from becoming one event.
        inotify_add_watch(m_events, directory.c_str(), IN_CREATE | IN_DELETE);
    }
    ~CreatedFiles() { close(m_events); }

    int count() const
    {
        alignas(inotify_event) char events[4096];
        int created = 0;
        for (ssize_t length = 0; (length = read(m_events, events, sizeof events)) > 0;) {
            for (char const* at = events; at < events + length;) {
                auto const* const event = reinterpret_cast<inotify_event const*>(at);
                created += (event->mask & IN_CREATE) != 0 ? 1 : 0;
                at += sizeof *event + event->len;
            }
        }
        return created;
    }

private:
    int m_events = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
};

TEST(LockTest, IsAFileAndAMutex)
{
    I2C_LOCK lock;
    LOCK other("other");
    lock.acquire(1000, 10);
    EXPECT_EQ(access(file.c_str(), F_OK), 0);
    {
        LockHold const hold(other, 10, 0); // another name, an interval of 0
        expectTimeout(5, 10);              // the same name, through another object
    }
    // Another name, but this process's mutex.
    auto acquired = std::async(std::launch::async, [&] { LockHold const hold(other, 1, 1); });
    EXPECT_EQ(acquired.wait_for(20ms), std::future_status::timeout);
    lock.release();
    acquired.get();
    EXPECT_NE(access(file.c_str(), F_OK), 0);
    LockHold const again(lock, 10, 10);
    EXPECT_THROW(lock.acquire(10, 10), Exception); // which gives up what the object held
    EXPECT_NE(access(file.c_str(), F_OK), 0);
}

TEST(LockTest, FailsWithATextThatNamesThePlaceAndTheReason)
{
    for (char const* const name : {"", static_cast<char const*>(nullptr)})
        EXPECT_THAT([=] { LOCK lock(name); },
                    testing::ThrowsMessage<Exception>(
                        testing::MatchesRegex("dtc_periph_lock.[0-9]+. : operation failed : "
                                              "null lock name")));
    EXPECT_STREQ(Exception(nullptr, 7, AccessProtected, "").what(), "access protected : ");
    EXPECT_STREQ(Exception("f", 7, UnmapFailed, nullptr).what(),
                 "f(7) : unable to unmap virtual address");
    EXPECT_STREQ(Exception(nullptr, 7, InvalidCallSequence, "d").what(),
                 "invalid call sequence : d");
    EXPECT_STREQ(Exception(nullptr, 7, Status(7), nullptr).what(), "unknown status");
}

TEST(LockTest, LeavesNoFileBehindThatNobodyHolds)
{
    CreatedFiles const created(PLATFORM::path("/var/lock"));
    Fork withoutDescriptors([] {
        {
            I2C_LOCK lock;
            LockHold const hold(lock, 1000, 1);
            expectTimeout(5, 10); // the sanitizer looks at a type once, with a descriptor
        }
        close(STDIN_FILENO);
        NoMoreDescriptors const none(STDERR_FILENO + 1);
        expectTimeout(30, 10); // the one descriptor left is that of a standard stream
    });
    EXPECT_EQ(withoutDescriptors.wait(), 0);
    EXPECT_EQ(created.count(), 1 + 3) << "an attempt an interval";
    EXPECT_NE(access(file.c_str(), F_OK), 0);
}

TEST(LockTest, WaitsWithoutWorkingForAHolderThatWasKilled)
{
    std::atomic<int>& opened = newSharedNumber();
    Fork holder([&] {
        I2C_LOCK().acquire(1000, 1);
        opened = 1;
        pause();
    });
    awaitAtLeast(opened, 1);
    holder.signal(SIGKILL);
    EXPECT_EQ(holder.wait(), -SIGKILL);
    auto const start = std::chrono::steady_clock::now();
    std::clock_t const before = std::clock();
    expectTimeout(1000, 10);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    auto const removal = std::async(std::launch::async, [] {
        std::this_thread::sleep_for(100ms);
        unlink(file.c_str());
    });
    I2C_LOCK lock;
    LockHold const hold(lock, 0, 1); // without limit
}

// A thread that has had to wait for another one of its process never meets that one's file.
TEST(LockTest, LetsThreadsOfOneProcessInAtTheirFirstAttempt)
{
    auto const takeTurns = [] {
        for (int i = 0; i < 2000; ++i) {
            I2C_LOCK lock;
            LockHold const hold(lock, 1, 1);
        }
    };
    std::future<void> threads[] = {std::async(std::launch::async, takeTurns),
                                   std::async(std::launch::async, takeTurns),
                                   std::async(std::launch::async, takeTurns)};
    for (std::future<void>& thread : threads)
        EXPECT_NO_THROW(thread.get());
}

TEST(LockTest, LetsInOneOfTwoProcessesWithFourThreadsEach)
{
    std::atomic<int>& holders = newSharedNumber();
    auto const takeTurns = [&] {
        for (int i = 0; i < 250; ++i) {
            I2C_LOCK lock;
            LockHold const hold(lock, 60'000, 1);
            EXPECT_EQ(++holders, 1);
            --holders;
        }
    };
    auto const fourThreads = [&] {
        std::future<void> threads[4];
        for (std::future<void>& thread : threads)
            thread = std::async(std::launch::async, takeTurns);
        for (std::future<void>& thread : threads)
            thread.get(); // throws what the thread threw
    };
    Fork first(fourThreads);
    Fork second(fourThreads);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    EXPECT_NE(access(file.c_str(), F_OK), 0);
}

} // namespace
