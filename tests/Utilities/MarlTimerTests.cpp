// SPDX-License-Identifier: MIT
// The clock of the measurements is replaced in this program, so that calls are as late and as long as a case
// says.
#include <MarlCore/Utilities/MarlTimer.h>
#include <MarlCore/Utilities/Stopwatch.h>

#include <MarlCore/platform/Exception.h>
#include <MarlCore/platform/NotificationCenter.h>
#include <MarlCore/platform/RunLoop.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include <sys/time.h>

namespace {

/// Microseconds since 1970.
std::atomic<std::int64_t> timeOfDay{0};

}  // namespace

extern "C" int gettimeofday(timeval* now, void*) noexcept {
    now->tv_sec = static_cast<decltype(now->tv_sec)>(timeOfDay / 1'000'000);
    now->tv_usec = static_cast<decltype(now->tv_usec)>(timeOfDay % 1'000'000);
    return 0;
}

namespace marl {
namespace {

using platform::RunLoop;
using platform::Timer;
using platform::TimerRef;
using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text) {
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::string printedBy(const std::function<void()>& print) {
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
}

std::string hexAddress(const void* object) {
    std::ostringstream text;
    text << std::hex << reinterpret_cast<std::uintptr_t>(object);
    return text.str();
}

void terminate() {
    platform::NotificationCenter::defaultCenter().postNotification(
        platform::ApplicationWillTerminateNotification, nullptr);
}

void callDueTimers(RunLoop& loop = RunLoop::current()) {
    loop.fireDueTimers(*loop.nextFireDate() + 0.1);  // with those that were made a moment later
}

/// Timers of this thread that are intercepted.
class MarlTimers : public testing::Test {
protected:
    MarlTimers() {
        timeOfDay = 1'000'000'000;  // a new second begins
        m_own = MarlTimer::timerForCurrentThread();
        m_own->setInterceptingNSTimer(true);
    }
    ~MarlTimers() override {
        m_timer->invalidate();
        printedBy(terminate);
    }

    TimerRef add(const std::string& name, double interval, const std::function<void(Timer&)>& operation,
                 bool repeats = true) {
        return MarlTimer::scheduledTimerWithTimeInterval(interval, m_target, {name, operation}, {}, repeats);
    }

    /// The one that most tests have; it takes `m_duration` microseconds.
    void addTick(double interval) {
        m_timer->invalidate();
        m_timer = add("tick:", interval, [this](Timer&) {
            timeOfDay += m_duration;
            ++m_calls;
        });
    }

    void callTick(std::int64_t pause, std::int64_t duration) {
        timeOfDay += pause;
        m_duration = duration;
        callDueTimers();
    }

    Lines report() const {
        return linesOf(printedBy([this] { m_own->dumpResults(false); }));
    }
    std::string summary() const {
        std::string text;
        printedBy([&] { text = m_own->dumpResults(true); });
        return text;
    }

    std::shared_ptr<int> m_target = std::make_shared<int>();
    TimerRef m_timer = std::make_shared<Timer>(1, false, nullptr);
    MarlTimerRef m_own;
    std::int64_t m_duration = 0;
    int m_calls = 0;
};

TEST_F(MarlTimers, AreReportedLineByLine) {
    addTick(0.5);
    const struct {
        std::int64_t pause, duration;  // microseconds
        const char* line;              // null: the call has none
    } calls[] = {
        {500'000, 0, nullptr},  // exactly the interval is not late
        {500'001, 0, "duration = 0.00000 secs.\terror = 0.50000 secs.\tMISSED\t"},
        {400'000, 499, nullptr},
        {100'000, 500, "duration = 0.00050 secs.\terror = 0.10000 secs.\t\t"},
        {499, 490'002, "duration = 0.49000 secs.\terror = --\t\t"},
        {8'499, 500'000, "duration = 0.50000 secs.\terror = 0.00850 secs.\t\t"},  // exactly, not too long
        {10'000, 600, "duration = 0.00060 secs.\terror = 0.01000 secs.\t\t"},
        {500, 480'000, "duration = 0.48000 secs.\terror = 0.00050 secs.\t\t"},
        {9'398, 500'001, "duration = 0.50000 secs.\terror = 0.00940 secs.\t\tTOO LONG"},
        {499'500, 2, "duration = 4293.96730 secs.\terror = 0.49950 secs.\t\tTOO LONG"},  // over a new second
        {-1'500'000, 600, "duration = 0.00060 secs.\terror = -1.50000 secs.\t\t"},  // the clock is set back
        {499'398, 600, "duration = 4293.96790 secs.\terror = 0.49940 secs.\t\tTOO LONG"},
        {999'701, -600, "duration = -4293.96790 secs.\terror = 0.99970 secs.\tMISSED\t"},
    };
    Lines expected = {"--Dumping Results for MarlTimer = " + hexAddress(m_own.get()),
                      "* Selector = tick:\tinterval = 0.50000 secs.\t(every 30.0/60 seconds)"};
    int number = 0;
    for (const auto& [pause, duration, line] : calls) {
        callTick(pause, duration);
        ++number;
        if (line) expected.push_back("\t#" + std::to_string(number) + ".\t" + line);
    }
    EXPECT_EQ(m_calls, number);
    expected.insert(expected.end(), {"", " RESULTS: 2 were called too late, 3 selectors ran too long",
                                     "--Done dumping Results for MarlTimer = " + hexAddress(m_own.get())});
    EXPECT_EQ(report(), expected);
    EXPECT_EQ(summary(),
              "tick: : every 30.0/60 sec.\n\t# missed = 2\t# too long = 3\n"
              "\tmissed = 15.38 pct.\ttoo long = 23.08 pct.\n");
    m_own->clearStats();
    EXPECT_EQ(summary(),
              "tick: : every 30.0/60 sec.\n\t# missed = 0\t# too long = 0\n"
              "\tmissed = 0.00 pct.\ttoo long = 0.00 pct.\n");
}

TEST_F(MarlTimers, AreReportedByTheirAddresses) {
    std::map<const Timer*, std::string> names;
    std::vector<TimerRef> timers;
    for (const char* name : {"a:", "b:", "c:", "d:", "a:"}) {
        timers.push_back(add(name, 1, nullptr));
        names[timers.back().get()] = name;
    }
    names.erase(timers.front().get());  // the second "a:" has taken its place
    std::string order;
    for (const auto& [timer, name] : names) order += name;
    std::string reported;
    for (const std::string& line : report())
        if (line.starts_with("* Selector = ")) reported += line.substr(13, 2);
    EXPECT_EQ(reported, order);
    for (const TimerRef& timer : timers) timer->invalidate();
}

TEST_F(MarlTimers, GoOnWithWhatWasMeasuredWhenMadeAnew) {
    addTick(0.25);
    callTick(300'000, 0);
    timeOfDay += 200'000;
    const TimerRef first = m_timer;
    std::string called;
    m_timer = add("tick:", 0.25, [&](Timer&) { called += "second"; });
    first->invalidate();
    callTick(240'000, 0);  // since it was armed, not since the first one was called
    EXPECT_EQ(called, "second");
    EXPECT_EQ(summary(),
              "tick: : every 15.0/60 sec.\n\t# missed = 1\t# too long = 0\n"
              "\tmissed = 50.00 pct.\ttoo long = 0.00 pct.\n");
    // Another target, a part of the same one, and another name are timers of their own.
    const auto other = std::make_shared<int>();
    const std::shared_ptr<const char> part(m_target, "part");
    const TimerRef more[] = {
        MarlTimer::scheduledTimerWithTimeInterval(1, other, {"tick:", [](Timer&) {}}, {}, true),
        MarlTimer::scheduledTimerWithTimeInterval(1, part, {"tick:", [](Timer&) {}}, {}, true),
        add("tock:", 1, [](Timer&) {})};
    EXPECT_EQ(std::ranges::count(summary(), ':'), 8);
    for (const TimerRef& timer : more) timer->invalidate();
}

TEST_F(MarlTimers, MayChangeWhileTheyAreCalled) {
    // Each call makes the next one, to be called once; asks for a report; and forgets what was measured.
    const std::function<void(Timer&)> again = [&](Timer&) {
        timeOfDay += 700;
        m_timer = add("again:", 0.5, again, false);
        if (++m_calls == 3) {
            EXPECT_EQ(report().size(), 7U);
            MarlTimer::clearStatsForAllThreads();
        }
    };
    m_timer = add("again:", 0.5, again, false);
    for (int i = 0; i < 4; ++i) callTick(600'000, 0);
    EXPECT_EQ(m_calls, 4);
    const Lines lines = report();
    ASSERT_EQ(lines.size(), 7U);  // the call that cleared was measured when it had ended
    EXPECT_EQ(lines[2], "\t#1.\tduration = 0.00070 secs.\terror = 0.60000 secs.\tMISSED\t");

    // A call may end its timer, its target and the process.
    m_timer->invalidate();
    m_timer = add("last:", 0.5, [&](Timer& timer) {
        timer.invalidate();
        m_target.reset();
        printedBy(terminate);
        ++m_calls;
    });
    callDueTimers();
    EXPECT_EQ(m_calls, 5);
    EXPECT_EQ(RunLoop::current().nextFireDate(), std::nullopt);
    EXPECT_NE(MarlTimer::timerForCurrentThread(), m_own);
}

TEST_F(MarlTimers, AreForgottenWhenTheirTargetDoesNotRespond) {
    addTick(0.5);
    const TimerRef without = add("without:", 0.5, nullptr);
    EXPECT_EQ(report().size(), 6U);
    callDueTimers();
    EXPECT_EQ(report().size(), 5U);
    EXPECT_EQ(m_calls, 1);
    m_target.reset();
    callDueTimers();
    EXPECT_EQ(report().size(), 4U);
    EXPECT_EQ(m_calls, 1);
    EXPECT_TRUE(m_timer->isValid());
    without->invalidate();
}

TEST_F(MarlTimers, ThrowOnWhatACallThrows) {
    m_timer = add("fail:", 0.5, [](Timer&) { throw std::runtime_error("from the call"); });
    EXPECT_THROW(callDueTimers(), std::runtime_error);
    EXPECT_EQ(report().size(), 5U);
    EXPECT_THROW(MarlTimer::timerWithTimeInterval(1, nullptr, {"x:", nullptr}, {}, true),
                 platform::Exception);
}

TEST_F(MarlTimers, ArePlainWhileNobodyIntercepts) {
    m_own->setInterceptingNSTimer(false);
    addTick(0.5);
    MarlTimer::setInterceptingNSTimerForAllThreads(true);
    EXPECT_TRUE(MarlTimer::interceptingNSTimerForCurrentThread());
    callDueTimers();
    EXPECT_EQ(m_calls, 1);
    EXPECT_EQ(report().size(), 4U);
    m_target.reset();
    callDueTimers();
    EXPECT_EQ(m_calls, 1);

    const auto target = std::make_shared<int>();
    const TimerRef timer = MarlTimer::timerWithTimeInterval(
        2, target, {"info:", [&](Timer& one) { m_calls += std::any_cast<int>(one.userInfo()); }}, 7, false);
    EXPECT_EQ(timer->timeInterval(), 2);
    RunLoop loop;
    loop.addTimer(timer);
    callDueTimers(loop);
    EXPECT_EQ(m_calls, 8);
    EXPECT_FALSE(timer->isValid());
}

TEST_F(MarlTimers, OfAllThreadsReportAtTheEnd) {
    addTick(0.5);
    const void* other = nullptr;
    std::thread([&] {
        const MarlTimerRef own = MarlTimer::timerForCurrentThread();
        EXPECT_EQ(own, MarlTimer::timerForCurrentThread());
        EXPECT_FALSE(own->interceptingNSTimer()) << "was made after it was set";
        other = own.get();
    }).join();
    ASSERT_NE(other, m_own.get());
    const Lines lines = linesOf(printedBy(terminate));
    for (const void* one : {static_cast<const void*>(m_own.get()), other})
        EXPECT_EQ(std::ranges::count(lines, "--Dumping Results for MarlTimer = " + hexAddress(one)), 1);
    EXPECT_EQ(lines.size(), 9U);
    EXPECT_EQ(printedBy(terminate), "");
    callDueTimers();
    EXPECT_EQ(m_calls, 1) << "timers outlive the registry";
}

TEST(MarlTimerThreads, SwitchInterceptionForEachOther) {
    constexpr int kRounds = 200;
    std::atomic<int> calls{0};
    testing::internal::CaptureStdout();
    const auto work = [&](unsigned seed) {
        const auto target = std::make_shared<int>();
        for (int round = 0; round < kRounds; ++round) {
            MarlTimer::setInterceptingNSTimerForAllThreads((static_cast<unsigned>(round) + seed) % 3 != 0);
            const TimerRef timer = MarlTimer::scheduledTimerWithTimeInterval(
                0.5, target, {round % 2 == 0 ? "even:" : "odd:", [&](Timer&) { ++calls; }}, {}, true);
            callDueTimers();
            if (round % 50 == 7) MarlTimer::dumpResultsForAllThreads(true);
            if (round % 50 == 9) MarlTimer::clearStatsForAllThreads();
            timer->invalidate();
        }
    };
    std::thread threads[] = {std::thread(work, 0), std::thread(work, 1)};
    for (std::thread& thread : threads) thread.join();
    terminate();
    EXPECT_EQ(calls, 2 * kRounds);
    // Reports of two threads do not mix.
    std::string open;
    for (const std::string& line : linesOf(testing::internal::GetCapturedStdout())) {
        const std::string address = line.substr(line.rfind(' ') + 1);
        if (line.starts_with("--Dumping")) {
            EXPECT_EQ(std::exchange(open, address), "");
        } else if (line.starts_with("--Done")) {
            EXPECT_EQ(std::exchange(open, ""), address);
        }
    }
}

TEST(Stopwatch, ShowsTheTimeBetweenStartAndStop) {
    Stopwatch watch = Stopwatch::stopwatch();
    EXPECT_EQ(watch.seconds(), 0);
    watch.start();
    while (watch.ticking() && watch.microseconds() < 50) continue;
    watch.stop();
    EXPECT_FALSE(watch.ticking());
    EXPECT_GE(watch.microseconds(), 50);
    EXPECT_EQ(watch.milliseconds(), watch.seconds() * 1e3);
    watch.reset();
    EXPECT_EQ(watch.seconds(), 0);
}

}  // namespace
}  // namespace marl
