// SPDX-License-Identifier: MIT
#include <MarlCore/platform/RunLoop.h>

#include <MarlCore/platform/AbsoluteTime.h>
#include <MarlCore/platform/Exception.h>

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

#include <poll.h>

namespace platform {
namespace {

/// Timers that write their letters down, in a time of their own.
class Timers : public testing::Test {
protected:
    using Also = std::function<void(Timer&)>;

    TimerRef add(
        char letter, double interval, bool repeats = true, const Also& also = [](Timer&) {}) {
        const auto timer = std::make_shared<Timer>(interval, repeats, [this, letter, also](Timer& one) {
            m_calls += letter;
            also(one);
        });
        m_loop.addTimer(timer, m_now);
        return timer;
    }

    std::string callsAt(double now) {
        m_calls.clear();
        m_now = now;
        m_loop.fireDueTimers(now);
        return m_calls;
    }

    RunLoop m_loop;
    double m_now = 100;
    std::string m_calls;
};

TEST_F(Timers, AreCalledWhenTheyAreDueTheLongestDueFirst) {
    add('a', 2);
    add('b', 1);
    const TimerRef once = add('c', 2, false);
    EXPECT_EQ(m_loop.nextFireDate(), 101);
    EXPECT_EQ(callsAt(100.9), "");
    EXPECT_EQ(callsAt(101), "b");
    EXPECT_EQ(callsAt(102), "abc");
    EXPECT_FALSE(once->isValid());
    EXPECT_EQ(callsAt(104), "ba");
    EXPECT_EQ(m_loop.nextFireDate(), 105);
}

TEST_F(Timers, KeepTheirBeatWhateverTheClockDoes) {
    const TimerRef timer = add('a', 2);
    const struct {
        double now;
        const char* calls;
        double next;
    } steps[] = {
        {102.75, "a", 104},  // late
        {103, "", 104},
        {104, "a", 106},
        {1000000001, "a", 1e9 + 2},  // years ahead: one call, not half a billion
        {100, "", 1e9 + 2},          // back
        {-1e12, "", 1e9 + 2},
    };
    for (const auto& [now, calls, next] : steps) {
        EXPECT_EQ(callsAt(now), calls) << now;
        EXPECT_EQ(timer->fireDate(), next) << now;
    }
    EXPECT_EQ(callsAt(1e300), "a");  // where an interval is less than what tells two dates apart
    for (const double now :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        EXPECT_THROW(m_loop.fireDueTimers(now), Exception);
        EXPECT_THROW(m_loop.addTimer(std::make_shared<Timer>(1, true, [](Timer&) {}), now), Exception);
    }
}

TEST_F(Timers, TakeOddIntervalsForTheShortest) {
    for (const double interval : {0.0, -1.0, 1e-9, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(add('a', interval)->timeInterval(), 0.0001);
    const TimerRef never = add('b', std::numeric_limits<double>::infinity());
    EXPECT_EQ(callsAt(101), "aaaa");
    EXPECT_TRUE(never->isValid());
}

TEST_F(Timers, MayBeInvalidatedByTheirOwnCall) {
    std::weak_ptr<Timer> observed;
    {
        const TimerRef timer = add('a', 1, true, [](Timer& one) { one.invalidate(); });
        const auto owned = std::make_shared<int>(1);
        observed = timer;
    }
    EXPECT_EQ(callsAt(105), "a");
    EXPECT_EQ(callsAt(110), "");
    EXPECT_EQ(m_loop.nextFireDate(), std::nullopt);
    EXPECT_TRUE(observed.expired());
}

TEST_F(Timers, OwnTheirHandlerWhileTheyAreValid) {
    // A handler that owns its own timer is released by the end of the timer, not kept by the circle.
    const auto timer = std::make_shared<TimerRef>();
    *timer = add('a', 1, true, [timer](Timer&) {});
    EXPECT_GT(timer.use_count(), 1);
    EXPECT_EQ(callsAt(101), "a");
    (*timer)->invalidate();
    EXPECT_EQ(timer.use_count(), 1);
    *timer = add('b', 1, false, [timer](Timer&) {});
    EXPECT_EQ(callsAt(105), "b");
    EXPECT_EQ(timer.use_count(), 1);
}

TEST_F(Timers, MayBeAddedAndEndedByOthers) {
    TimerRef doomed;
    add('a', 1, true, [&](Timer& one) {
        doomed->invalidate();
        one.invalidate();
        add('b', 0.5);
    });
    doomed = add('x', 2);
    EXPECT_EQ(callsAt(105), "a");
    EXPECT_EQ(m_loop.nextFireDate(), 105.5);
    EXPECT_EQ(callsAt(105.5), "b");
}

TEST_F(Timers, ThatThrowHarmNeitherThemselvesNorOthers) {
    add('a', 1, true, [](Timer&) { throw std::runtime_error("a"); });
    add('b', 1.5);
    const TimerRef once = add('c', 2, false, [](Timer&) { throw std::runtime_error("c"); });
    EXPECT_THROW(callsAt(103), std::runtime_error);
    EXPECT_EQ(m_calls, "a");
    EXPECT_THROW(callsAt(103), std::runtime_error);
    EXPECT_EQ(m_calls, "bc");
    EXPECT_FALSE(once->isValid());
    EXPECT_EQ(callsAt(103), "");
    EXPECT_THROW(callsAt(104), std::runtime_error);
    EXPECT_EQ(m_calls, "a");
}

TEST_F(Timers, ArePassedOverWithinTheirOwnCall) {
    add('a', 1, true, [this](Timer&) {
        if (m_calls.size() < 5) m_loop.fireDueTimers(m_now += 1);
    });
    add('b', 1);
    EXPECT_EQ(callsAt(101), "ab");
    EXPECT_EQ(m_now, 102);
    EXPECT_EQ(callsAt(103), "ab");  // b was called within a's call
}

TEST_F(Timers, AreAddedOnceAndOnlyWhileTheyAreValid) {
    const TimerRef timer = add('a', 1);
    m_loop.addTimer(timer, 500);
    RunLoop other;
    other.addTimer(timer, 500);
    EXPECT_EQ(timer->fireDate(), 101);
    EXPECT_EQ(other.nextFireDate(), std::nullopt);
    timer->invalidate();
    m_loop.addTimer(timer, 500);
    EXPECT_EQ(m_loop.nextFireDate(), std::nullopt);
}

TEST_F(Timers, OutliveTheirLoopWithoutIt) {
    const auto timer = std::make_shared<Timer>(
        1, true, [](Timer&) {}, std::string("mine"));
    {
        RunLoop loop;
        loop.addTimer(timer);
        loop.addTimer(std::make_shared<Timer>(1, true, [&](Timer&) {}));
    }
    EXPECT_FALSE(timer->isValid());
    timer->invalidate();
    EXPECT_EQ(std::any_cast<std::string>(timer->userInfo()), "mine");
}

TEST_F(Timers, BelongToTheLoopOfTheirThread) {
    const auto count = [](RunLoop* other) {
        EXPECT_NE(&RunLoop::current(), other);
        int calls = 0;
        Timer::scheduledTimerWithTimeInterval(0.001, true, [&](Timer& timer) {
            if (++calls % 10 == 3) timer.invalidate();
        });
        Timer::scheduledTimerWithTimeInterval(0.002, false, [&](Timer&) { calls += 10; });
        const double start = AbsoluteTimeGetCurrent();
        RunLoop::current().runUntil(start + 3600);  // ends with its timers
        EXPECT_GE(AbsoluteTimeGetCurrent(), start + 0.002);
        EXPECT_EQ(RunLoop::current().nextFireDate(), std::nullopt);
        return calls;
    };
    int calls = 0;
    RunLoop* const own = &RunLoop::current();
    std::thread([&] { calls = count(own); }).join();
    EXPECT_EQ(calls, 13);
    EXPECT_EQ(own->nextFireDate(), std::nullopt);
}

TEST_F(Timers, RunUntilADate) {
    int calls = 0;
    m_loop.addTimer(std::make_shared<Timer>(0.001, true, [&](Timer&) { ++calls; }));
    const double end = AbsoluteTimeGetCurrent() + 0.005;
    m_loop.runUntil(end);
    EXPECT_GE(AbsoluteTimeGetCurrent(), end);
    EXPECT_GE(calls, 1);
    EXPECT_THROW(m_loop.runUntil(std::numeric_limits<double>::quiet_NaN()), Exception);
}

/// Whether the loop's descriptor becomes readable within `milliseconds`; -1: some time.
bool becomesReadable(RunLoop& loop, int milliseconds) {
    pollfd descriptor{loop.fileDescriptor(), POLLIN, 0};
    return ::poll(&descriptor, 1, milliseconds) == 1 && descriptor.revents == POLLIN;
}

TEST(RunLoopDescriptor, IsReadableWhileATimerIsDue) {
    RunLoop loop;
    EXPECT_FALSE(becomesReadable(loop, 0));
    const auto addDue = [&](bool repeats) {
        const auto timer = std::make_shared<Timer>(1000, repeats, [](Timer&) {});
        loop.addTimer(timer, AbsoluteTimeGetCurrent() - 1001);
        return timer;
    };
    const TimerRef repeating = addDue(true);
    EXPECT_TRUE(becomesReadable(loop, -1));
    EXPECT_TRUE(becomesReadable(loop, 0));  // still
    loop.fireDueTimers(AbsoluteTimeGetCurrent());
    EXPECT_FALSE(becomesReadable(loop, 0));
    const TimerRef once = addDue(false);
    EXPECT_TRUE(becomesReadable(loop, -1));
    once->invalidate();
    EXPECT_FALSE(becomesReadable(loop, 0));
}

TEST(RunLoopDescriptor, WakesAHostThatPolls) {
    RunLoop loop;
    int calls = 0;
    loop.addTimer(std::make_shared<Timer>(0.001, true, [&](Timer&) { ++calls; }));
    while (calls < 5) {
        ASSERT_TRUE(becomesReadable(loop, -1));
        loop.fireDueTimers(AbsoluteTimeGetCurrent());
    }
}

TEST(RunLoopDescriptor, StaysDueAfterAnExceptionAndSurvivesOddDates) {
    RunLoop loop;
    const int descriptor = loop.fileDescriptor();
    const double now = AbsoluteTimeGetCurrent();
    const auto add = [&](double interval, double date, bool throws) {
        loop.addTimer(std::make_shared<Timer>(interval, false,
                                              [throws](Timer&) {
                                                  if (throws) throw std::runtime_error("");
                                              }),
                      date);
    };
    add(std::numeric_limits<double>::infinity(), now, false);
    add(1e300, now, false);
    EXPECT_FALSE(becomesReadable(loop, 0));
    add(1, -1e300, true);
    add(1, now - 2, false);
    EXPECT_TRUE(becomesReadable(loop, -1));
    EXPECT_THROW(loop.fireDueTimers(now), std::runtime_error);
    EXPECT_TRUE(becomesReadable(loop, -1));
    loop.fireDueTimers(now);
    EXPECT_FALSE(becomesReadable(loop, 0));
    EXPECT_EQ(loop.fileDescriptor(), descriptor);
}

}  // namespace
}  // namespace platform
