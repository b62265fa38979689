#include "util/umutex.h"

#include <gtest/gtest.h>
#include <thread>

using KORVA::uMutex;

namespace {

TEST(MutexTest, IsReentrantForItsOwnerAndClosedToOthers)
{
    uMutex mutex;
    EXPECT_FALSE(mutex.Unlock()) << "free, so this thread does not own it";
    EXPECT_TRUE(mutex.Lock() && mutex.Lock());
    EXPECT_EQ(mutex.GetOwnerThreadHandle(), pthread_self());
    std::thread([&] { EXPECT_FALSE(mutex.Unlock()); }).join();
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_TRUE(mutex.IsLocked()) << "one level is left";
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_FALSE(mutex.IsLocked() || mutex.Unlock());
    int inside = 0;
    int entries = 0;
    auto const work = [&] {
        for (int i = 0; i < 20'000; ++i) {
            KORVA::uMutexGuard const outer(mutex);
            KORVA::uMutexGuard const inner(mutex);
            EXPECT_EQ(++inside, 1);
            ++entries;
            --inside;
        }
    };
    std::thread threads[] = {std::thread(work), std::thread(work), std::thread(work)};
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(entries, 60'000);
}

TEST(MutexTest, AGuardGivesUpOnlyWhatItHolds)
{
    uMutex mutex;
    EXPECT_TRUE(mutex.Lock());
    {
        KORVA::uMutexGuard guard(mutex);
        guard.Release();
        guard.Release();
        EXPECT_EQ(mutex.GetOwnerThreadHandle(), pthread_self())
            << "the level below is not the guard's";
        guard.Acquire();
        guard.Acquire();
    }
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_FALSE(mutex.IsLocked());
    {
        KORVA::uMutexGuard const guard(mutex);
        EXPECT_TRUE(mutex.Unlock());
    }
    EXPECT_TRUE(mutex.Lock() && mutex.IsLocked()) << "its level was given up by hand before";
    EXPECT_TRUE(mutex.Unlock());
    EXPECT_FALSE(mutex.IsLocked());
}

} // namespace
