#include "util/uevent.h"
#include "util/uthread.h"

#include <gtest/gtest.h>
#include <thread>

using namespace KORVA;

namespace {

constexpr unsigned int forever = 0xFFFFFFFF;

struct Task : uRunnable
{
    void Run() override
    {
        ++runs;
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getdetachstate(&attributes, &detachState);
        pthread_attr_destroy(&attributes);
        go.Wait(forever);
    }

    int runs = 0;
    int detachState = -1;
    uEvent go{false};
};

TEST(ThreadTest, RunsAgainAndAgainAndReportsItsEnd)
{
    Task task;
    uThread thread(&task, PriorityRealtimeLowest, 0);
    EXPECT_FALSE(thread.WaitUntilFinished(forever)) << "never started";
    EXPECT_FALSE(thread.SetPriority(PriorityRealtimeMiddle)) << "no thread to apply it to";
    EXPECT_EQ(thread.GetPriority(), PriorityRealtimeMiddle);
    int endsSeen = 0;
    for (int i = 1; i <= 20; ++i) {
        ASSERT_TRUE(thread.Start());
        EXPECT_EQ(thread.GetPriority(), PriorityNormal) << "it starts with the default";
        EXPECT_FALSE(thread.SetPriority(PriorityRealtimeHighest)) << "its policy refuses it";
        EXPECT_TRUE(thread.SetPriority(PriorityNormal));
        EXPECT_FALSE(i == 1 && thread.WaitUntilFinished(1)) << "still running";
        std::thread opener([&] { task.go.Set(); });
        endsSeen += thread.WaitUntilFinished(forever) ? 1 : 0; // not when it ended before the wait
        opener.join();
        while (thread.GetHandle() != 0)
            uThread::Yield();
        EXPECT_EQ(task.runs, i);
        EXPECT_EQ(task.detachState, PTHREAD_CREATE_DETACHED) << "nobody joins it";
    }
    EXPECT_GT(endsSeen, 0);
    EXPECT_FALSE(thread.WaitUntilFinished(forever)) << "ended already";
}

TEST(ThreadTest, SleepsAtLeastAsLongAsAsked)
{
    auto const start = std::chrono::steady_clock::now();
    uThread::Sleep(1001);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1001));
}

TEST(ThreadTest, MayBeStartedAgainOrDestroyedAsSoonAsItHasEnded)
{
    for (int i = 0; i < 200; ++i) {
        Task task;
        uThread thread(&task, PriorityNormal, 0);
        task.go.Set();
        ASSERT_TRUE(thread.Start());
        while (thread.GetHandle() != 0)
            uThread::Yield();
        if (i > 0)
            continue;
        ASSERT_TRUE(thread.Start());
        EXPECT_FALSE(thread.WaitUntilFinished(20))
            << "the end of the first run is not the second's";
        task.go.Set();
        while (thread.GetHandle() != 0)
            uThread::Yield();
    }
}

} // namespace
