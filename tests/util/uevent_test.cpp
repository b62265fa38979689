#include "util/uevent.h"
#include "util/uevent_listener.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <thread>

using KORVA::uEvent;
using KORVA::uEventListener;

namespace {

constexpr unsigned int forever = 0xFFFFFFFF;

TEST(EventTest, IsConsumedByOneWait)
{
    uEvent event(true);
    EXPECT_TRUE(event.Wait(0));
    EXPECT_FALSE(event.Wait(0));
    EXPECT_TRUE(event.Set());
    EXPECT_TRUE(event.IsSet()) << "nobody waited";
    EXPECT_TRUE(event.Wait(forever));
    event.Set();
    EXPECT_TRUE(event.Reset());
    EXPECT_FALSE(event.IsSet());
}

TEST(EventTest, OneSetReleasesEveryWaiterBlockedAtThatMoment)
{
    uEvent event(false);
    std::atomic<int> released{0};
    auto const wait = [&] {
        EXPECT_TRUE(event.Wait(forever));
        ++released;
    };
    std::thread waiters[] = {std::thread(wait), std::thread(wait), std::thread(wait)};
    while (released < 3) // a waiter that was not blocked yet takes a later Set
        event.Set();
    for (std::thread& waiter : waiters)
        waiter.join();
}

TEST(EventTest, TimesOutNoEarlierThanAsked)
{
    uEvent event(false);
    uEvent* events[] = {&event};
    uEventListener listener(events, 1);
    for (unsigned int const limitMs : {1U, 1001U}) { // seconds and a carry
        auto const start = std::chrono::steady_clock::now();
        EXPECT_FALSE(event.Wait(limitMs));
        EXPECT_EQ(listener.Wait(limitMs), -1);
        EXPECT_GE(std::chrono::steady_clock::now() - start,
                  std::chrono::milliseconds(2 * limitMs - 1));
    }
}

TEST(EventListenerTest, ReportsTheFirstSetEventAndClearsAllThatAreSet)
{
    uEvent a(true);
    uEvent b(true);
    uEvent c(false);
    uEvent* events[] = {nullptr, &c, &a, &b};
    uEventListener listener(events, 4);
    EXPECT_EQ(listener.UpdateState(), 2);
    EXPECT_TRUE(a.IsSet()) << "looking consumes nothing";
    EXPECT_EQ(listener.Wait(forever), 2);
    EXPECT_FALSE(a.IsSet());
    EXPECT_FALSE(b.IsSet());
    EXPECT_EQ(listener.UpdateState(), -1);
    EXPECT_EQ(uEventListener(events, -1).Wait(0), -1);
    EXPECT_EQ(uEventListener(nullptr, 3).Wait(0), -1);
}

// An event that was set before the wait is found at its first place, one that wakes it at its last.
TEST(EventListenerTest, ConsumesTheEventThatWakesIt)
{
    uEvent a(false);
    uEvent b(false);
    uEvent* events[] = {&b, &a, &b};
    uEventListener listener(events, 3);
    int index = 0;
    for (int round = 0; round < 1000 && index == 0; ++round) {
        std::thread setter([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            b.Set();
        });
        index = listener.Wait(forever);
        setter.join();
        EXPECT_FALSE(b.IsSet());
    }
    EXPECT_EQ(index, 2);
}

TEST(EventListenerTest, LeavesItsEventsWhenDestroyed)
{
    uEvent event(false);
    uEvent* events[] = {&event, &event};
    auto* const listener = new uEventListener(events, 2);
    delete listener;
    event.Set(); // would call into the destroyed listener
    EXPECT_TRUE(event.IsSet());
    EXPECT_FALSE(event.DeleteListener(listener));
}

// Every Set must be seen by somebody: the listener has to end after exactly as many wake-ups as
// there were signals, one signal being outstanding at a time.
TEST(EventListenerTest, LosesNoWakeUp)
{
    constexpr int rounds = 3000;
    uEvent request[2] = {uEvent(false), uEvent(false)};
    uEvent done(false);
    uEvent* events[] = {&request[0], &request[1]};
    uEventListener listener(events, 2);
    std::thread server([&] {
        for (int i = 0; i < rounds; ++i) {
            EXPECT_EQ(listener.Wait(forever), i % 2);
            done.Set();
        }
    });
    for (int i = 0; i < rounds; ++i) {
        request[i % 2].Set();
        ASSERT_TRUE(done.Wait(30'000)) << "signal " << i << " was lost";
    }
    server.join();
}

// Set arrives around the moment at which the wait times out: either the wait takes it or it stays
// set.
TEST(EventListenerTest, NeitherLosesNorDoublesASignalThatMeetsTheTimeOut)
{
    uEvent event(false);
    uEvent* events[] = {&event};
    uEventListener listener(events, 1);
    std::minstd_rand random(1);
    int taken = 0;
    for (int i = 0; i < 300; ++i) {
        auto const delayUs = static_cast<unsigned int>(random() % 2000);
        std::thread setter([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(delayUs));
            event.Set();
        });
        taken += listener.Wait(1) == 0 ? 1 : 0;
        setter.join();
        taken += event.Wait(0) ? 1 : 0;
    }
    EXPECT_EQ(taken, 300);
}

} // namespace
