#include "util/uevent.h"
#include "util/uthread.h"

#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace KORVA;

namespace {

constexpr unsigned int forever = 0xFFFFFFFF;

class Task : public uRunnable
{
public:
    explicit Task(std::function<void()> body) : m_body(std::move(body)) {}
    void Run() override { m_body(); }

private:
    std::function<void()> m_body;
};

/// A thread object that is never destroyed: its thread touches it for a moment after it is seen to
/// end.
uThread& makeThread(uRunnable& runnable)
{
    static auto& all = *new std::vector<uThread*>;
    return *all.emplace_back(new uThread(&runnable, PriorityRealtimeLowest, 0));
}

class ThreadTest : public testing::Test
{
protected:
    void awaitEnd()
    {
        while (thread.GetHandle() != 0)
            uThread::Yield();
    }

    int runs = 0;
    uEvent go{false};
    Task task{[this] {
        ++runs;
        go.Wait(forever);
    }};
    uThread& thread = makeThread(task);
};

TEST_F(ThreadTest, RunsAgainAndAgainAndReportsItsEnd)
{
    EXPECT_FALSE(thread.WaitUntilFinished(forever)) << "never started";
    int endsSeen = 0;
    for (int i = 1; i <= 20; ++i) {
        ASSERT_TRUE(thread.Start());
        EXPECT_FALSE(i == 1 && thread.WaitUntilFinished(1)) << "still running";
        std::thread opener([&] { go.Set(); });
        endsSeen += thread.WaitUntilFinished(forever) ? 1 : 0; // not when it ended before the wait
        opener.join();
        awaitEnd();
        EXPECT_EQ(runs, i);
    }
    EXPECT_GT(endsSeen, 0);
    EXPECT_FALSE(thread.WaitUntilFinished(forever)) << "ended already";
}

TEST_F(ThreadTest, HandsPrioritiesToTheSystemUntranslated)
{
    EXPECT_FALSE(thread.SetPriority(PriorityRealtimeMiddle)) << "no thread to apply it to";
    EXPECT_EQ(thread.GetPriority(), PriorityRealtimeMiddle);
    ASSERT_TRUE(thread.Start());
    EXPECT_EQ(thread.GetPriority(), PriorityNormal) << "it starts with the default";
    EXPECT_FALSE(thread.SetPriority(PriorityRealtimeHighest)) << "the default policy refuses it";
    EXPECT_TRUE(thread.SetPriority(PriorityNormal));
    EXPECT_FALSE(thread.Suspend() || thread.Resume());
    go.Set();
    awaitEnd();
}

} // namespace
