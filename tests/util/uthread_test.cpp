#include "util/uevent_listener.h"
#include "util/uthread.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
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
uThread& makeThread(uRunnable& runnable, ThreadPriority priority = PriorityNormal)
{
    static auto& all = *new std::vector<uThread*>;
    return *all.emplace_back(new uThread(&runnable, priority, 0));
}

void awaitEnd(uThread const& thread)
{
    while (thread.GetHandle() != 0)
        uThread::Yield();
}

TEST(ThreadTest, RunsAgainAndAgainAndReportsItsEnd)
{
    uEvent go(false);
    int runs = 0;
    Task task([&] {
        ++runs;
        go.Wait(forever);
    });
    uThread& thread = makeThread(task);
    EXPECT_FALSE(thread.WaitUntilFinished(forever)) << "never started";
    int endsSeen = 0;
    for (int i = 1; i <= 20; ++i) {
        ASSERT_TRUE(thread.Start());
        EXPECT_NE(thread.GetHandle(), 0U);
        EXPECT_FALSE(i == 1 && thread.WaitUntilFinished(1)) << "still running";
        std::thread opener([&] { go.Set(); });
        endsSeen += thread.WaitUntilFinished(forever) ? 1 : 0; // not when it ended before the wait
        opener.join();
        awaitEnd(thread);
        EXPECT_EQ(runs, i);
    }
    EXPECT_GT(endsSeen, 0);
    EXPECT_FALSE(thread.WaitUntilFinished(forever)) << "ended already";
}

TEST(ThreadTest, HandsPrioritiesToTheSystemUntranslated)
{
    uEvent go(false);
    Task task([&] { go.Wait(forever); });
    uThread& thread = makeThread(task, PriorityRealtimeLowest);
    EXPECT_EQ(thread.GetPriority(), PriorityRealtimeLowest);
    EXPECT_FALSE(thread.SetPriority(PriorityRealtimeMiddle)) << "no thread to apply it to";
    EXPECT_EQ(thread.GetPriority(), PriorityRealtimeMiddle);
    ASSERT_TRUE(thread.Start());
    EXPECT_EQ(thread.GetPriority(), PriorityNormal) << "it starts with the default";
    EXPECT_FALSE(thread.SetPriority(PriorityRealtimeHighest)) << "the default policy refuses it";
    EXPECT_TRUE(thread.SetPriority(PriorityNormal));
    EXPECT_FALSE(thread.Suspend());
    EXPECT_FALSE(thread.Resume());
    go.Set();
    awaitEnd(thread);
    EXPECT_EQ(thread.GetPriority(), PriorityNormal);
}

// All the classes at once: producers signal under a re-entrant lock, one listener collects. An
// event may stand for several signals, so what is counted is the work handed over.
TEST(ThreadTest, WorksTogetherWithMutexesEventsAndListeners)
{
    constexpr int producers = 4;
    constexpr int items = 2000;
    uMutex lock;
    int pending = 0;
    std::vector<std::unique_ptr<uEvent>> events;
    std::vector<uEvent*> pointers;
    std::vector<std::unique_ptr<Task>> tasks;
    std::vector<uThread*> threads;
    for (int p = 0; p < producers; ++p)
        pointers.push_back(events.emplace_back(std::make_unique<uEvent>(false)).get());
    {
        uEventListener listener(pointers.data(), producers);
        for (uEvent* event : pointers) {
            tasks.push_back(std::make_unique<Task>([&lock, &pending, event] {
                for (int i = 0; i < items; ++i) {
                    uMutexGuard const outer(lock);
                    uMutexGuard const inner(lock);
                    ++pending;
                    event->Set();
                }
            }));
            threads.push_back(&makeThread(*tasks.back()));
            ASSERT_TRUE(threads.back()->Start());
        }
        for (int consumed = 0; consumed < producers * items;) {
            listener.Wait(50);
            uMutexGuard const guard(lock);
            consumed += pending;
            pending = 0;
        }
        for (uThread const* thread : threads)
            awaitEnd(*thread);
    }
    for (uEvent* event : pointers)
        EXPECT_TRUE(event->Set()) << "after the listener is gone";
}

} // namespace
