#include "util/uevent.h"
#include "util/uevent_listener.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
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
    EXPECT_TRUE(event.Set() && event.IsSet()) << "nobody waited";
    EXPECT_TRUE(event.Wait(forever));
    event.Set();
    EXPECT_TRUE(event.Reset() && !event.IsSet());
}

// A waiter that was not blocked yet at the Set takes a later one; a round in which all were shows
// it.
TEST(EventTest, OneSetReleasesEveryWaiterBlockedAtThatMoment)
{
    uEvent event(false);
    int setsOfBestRound = 3;
    for (int round = 0; round < 500 && setsOfBestRound > 1; ++round) {
        std::atomic<int> released{0};
        auto const wait = [&] { released += event.Wait(forever) ? 1 : 0; };
        std::thread waiters[] = {std::thread(wait), std::thread(wait), std::thread(wait)};
        int sets = 0;
        for (; released < 3; ++sets) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            event.Set();
            for (int looks = 0; released < 3 && looks < 100; ++looks)
                std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        for (std::thread& waiter : waiters)
            waiter.join();
        setsOfBestRound = std::min(setsOfBestRound, sets);
        event.Reset();
    }
    EXPECT_EQ(setsOfBestRound, 1);
}

TEST(EventTest, TimesOutNoEarlierThanAsked)
{
    uEvent event(false);
    uEvent* events[] = {&event};
    uEventListener listener(events, 1);
    for (unsigned int const limitMs : {2U, 1999U}) { // seconds, and nearly always a carry
        auto const timesOut = [limitMs](auto wait) {
            auto const start = std::chrono::steady_clock::now();
            EXPECT_FALSE(wait());
            EXPECT_GE(std::chrono::steady_clock::now() - start,
                      std::chrono::milliseconds(limitMs - limitMs / 500 - 1)); // another clock
        };
        std::thread other(timesOut, [&] { return event.Wait(limitMs); });
        timesOut([&] { return listener.Wait(limitMs) != -1; });
        other.join();
    }
}

TEST(EventListenerTest, ReportsTheFirstSetEventAndClearsAllThatAreSet)
{
    uEvent a(true);
    uEvent b(true);
    uEvent c(false);
    uEvent* events[] = {nullptr, &c, &a, &b, &a};
    {
        uEventListener listener(events, 5);
        EXPECT_EQ(listener.UpdateState(), 2);
        EXPECT_TRUE(a.IsSet()) << "looking consumes nothing";
        EXPECT_EQ(listener.Wait(forever), 2);
        EXPECT_FALSE(a.IsSet() || b.IsSet());
        EXPECT_EQ(listener.UpdateState(), -1);
    }
    a.Set(); // would call into the destroyed listener
    EXPECT_TRUE(a.IsSet());
    EXPECT_EQ(uEventListener(events, -1).Wait(0), -1);
    EXPECT_EQ(uEventListener(nullptr, 3).Wait(0), -1);
}

TEST(EventListenerTest, MayComeAndGoWhileItsEventIsSet)
{
    uEvent event(false);
    uEvent* events[] = {&event};
    std::atomic<bool> done{false};
    std::thread setter([&] {
        while (!done)
            event.Set();
    });
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(uEventListener(events, 1).Wait(forever), 0);
    done = true;
    setter.join();
}

// Every Set must be seen once: the listener ends after exactly as many wake-ups as there were
// signals, one being outstanding at a time. An event that was set before the wait is found at its
// first place, one that wakes it at its last.
TEST(EventListenerTest, LosesNoWakeUp)
{
    constexpr int rounds = 20000;
    uEvent request[2] = {uEvent(false), uEvent(false)};
    uEvent done(false);
    uEvent* events[] = {&request[0], &request[1], &request[0], &request[1]};
    uEventListener listener(events, 4);
    int atLastPlace = 0;
    std::thread server([&] {
        for (int i = 0; i < rounds; ++i) {
            int const index = listener.Wait(forever);
            EXPECT_EQ(index % 2, i % 2);
            atLastPlace += index / 2;
            done.Set();
        }
    });
    for (int i = 0; i < rounds; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(i % 1000 == 0 ? 2 : 0));
        request[i % 2].Set();
        ASSERT_TRUE(done.Wait(30'000)) << "signal " << i << " was lost";
    }
    server.join();
    EXPECT_GT(atLastPlace, 0);
}

TEST(EventListenerTest, SeesASignalThatComesAtAnyStepOfItsWait)
{
    constexpr int rounds = 20'000;
    uEvent event(false);
    uEvent* events[] = {&event};
    uEventListener listener(events, 1);
    std::atomic<int> begun{0};
    std::thread server([&] {
        for (int i = 1; i <= rounds; ++i) {
            begun = i;
            ASSERT_EQ(listener.Wait(30'000), 0) << "signal " << i << " was lost";
        }
    });
    for (int i = 1; i <= rounds && !HasFailure(); ++i) {
        for (int looks = 0; begun < i && !HasFailure(); ++looks) {
            if (looks > 1000) // on a busy machine
                std::this_thread::yield();
        }
        for (int volatile pause = i % 500; pause > 0;)
            pause = pause - 1;
        event.Set();
    }
    server.join();
}

// Both events are set while the listener waits: it may report one of them only, and the other one
// must stay set for its next wait.
TEST(EventListenerTest, TakesOneOfTwoEventsThatWakeIt)
{
    uEvent a(false);
    uEvent b(false);
    uEvent* events[] = {&a, &b};
    uEventListener listener(events, 2);
    std::atomic<int> taken[2] = {};
    std::thread server([&] {
        for (int index = listener.Wait(forever); taken[0] < 300; index = listener.Wait(forever))
            ++taken[index];
    });
    for (int round = 1; round <= 300; ++round) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        a.Set();
        b.Set();
        for (int looks = 0; taken[0] < round && looks < 50'000; ++looks)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        ASSERT_GE(taken[0], round) << "the first event was lost";
    }
    a.Set(); // the last wait
    server.join();
}

// Set arrives around the moment at which the wait times out: the wait takes it, or it stays set.
TEST(EventListenerTest, NeitherLosesNorDoublesASignalThatMeetsTheTimeOut)
{
    uEvent event(false);
    uEvent* events[] = {&event};
    uEventListener listener(events, 1);
    int taken = 0;
    for (int i = 0; i < 300; ++i) {
        std::thread setter([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(i * 7 % 2000));
            event.Set();
        });
        taken += listener.Wait(1) == 0 ? 1 : 0;
        setter.join();
        taken += event.Wait(0) ? 1 : 0;
    }
    EXPECT_EQ(taken, 300);
}

} // namespace
