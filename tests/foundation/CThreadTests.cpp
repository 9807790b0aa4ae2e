// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CThread.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <condition_variable>
#include <functional>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace halyard {
namespace {

constexpr int kAnHour = 3600 * 1000;  // ms: longer than the time that a test is given

/// A number that threads wait for.
class Counter {
public:
    void increment() {
        const std::lock_guard lock(m_mutex);
        ++m_value;
        m_changed.notify_all();
    }
    void waitFor(int value) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_value >= value; });
    }
    int value() {
        const std::lock_guard lock(m_mutex);
        return m_value;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_value = 0;
};

/// Runs a function again and again; `wake` is what unblocks it for a stop.
class Worker : public CPThread {
public:
    explicit Worker(
        std::function<void()> work, std::function<void()> wake = [] {})
        : m_work(std::move(work)), m_wake(std::move(wake)) {}
    ~Worker() override { sleepUntilThreadExits(true, 0); }

    void runOnce() override { m_work(); }
    using CThread::stopRequested;

private:
    void wakeForStop() override { m_wake(); }

    std::function<void()> m_work, m_wake;
};

/// The message of the exception that ended the thread's last run, or "" without one.
std::string failureOf(const CPThread& thread) {
    const std::exception_ptr failure = thread.getFailure();
    if (!failure) return "";
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& exception) {
        return exception.what();
    }
}

void letOthersRun() {
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
}

void waitUntilEnded(const CThread& thread) {
    while (thread.isThreadRunning()) std::this_thread::yield();
}

TEST(Thread, RestsUntilItIsStarted) {
    Worker worker([] {});
    EXPECT_FALSE(worker.isThreadRunning());
    EXPECT_TRUE(worker.sleepUntilThreadExits(false, 0));
    EXPECT_TRUE(worker.sleepUntilThreadExits(true, 1));
    EXPECT_EQ(worker.getFailure(), nullptr);
}

TEST(Thread, StopsWhicheverPauseItMakes) {
    for (const int pause : {-1, 0, 1, kAnHour, std::numeric_limits<int>::max()}) {
        Counter runs;
        Worker worker([&] { runs.increment(); });
        worker.runWithPriority(0.5, pause);
        runs.waitFor(pause > 1 ? 1 : 3);
        letOthersRun();  // into the pause, as a rule; whatever they do, the stop must work
        EXPECT_TRUE(worker.sleepUntilThreadExits(true, 0)) << pause;
        EXPECT_FALSE(worker.isThreadRunning());
        EXPECT_EQ(failureOf(worker), "");
    }
}

TEST(Thread, StopsWhileItsRunIsBlocked) {
    Counter blocked, woken;
    Worker worker(
        [&] {
            blocked.increment();
            woken.waitFor(1);
        },
        [&] {
            EXPECT_TRUE(worker.stopRequested()) << "first the request, then the wake-up";
            woken.increment();
        });
    worker.createThread();
    blocked.waitFor(1);
    EXPECT_TRUE(worker.sleepUntilThreadExits(true, 0));
    EXPECT_EQ(blocked.value(), 1);
}

TEST(Thread, ShowsALongRunThatItIsToStop) {
    Counter started;
    Worker worker([&] {
        started.increment();
        while (!worker.stopRequested()) std::this_thread::yield();
    });
    worker.createThread();
    started.waitFor(1);
    EXPECT_TRUE(worker.sleepUntilThreadExits(true, 0));
}

TEST(Thread, IsGivenUpOnAfterTheTimeOut) {
    Counter started, released;
    Worker worker([&] {
        started.increment();
        released.waitFor(1);
    });
    worker.createThread();
    started.waitFor(1);
    EXPECT_FALSE(worker.sleepUntilThreadExits(false, 1));
    EXPECT_FALSE(worker.stopRequested());
    EXPECT_FALSE(worker.sleepUntilThreadExits(true, 1));
    EXPECT_TRUE(worker.isThreadRunning());
    released.increment();
    EXPECT_TRUE(worker.sleepUntilThreadExits(false, 0)) << "the request to stop still stands";
    EXPECT_EQ(started.value(), 1);
}

TEST(Thread, IsStartedOnceUntilItEnds) {
    Counter runs;
    std::set<std::thread::id> threads;
    Worker worker([&] {
        threads.insert(std::this_thread::get_id());  // a second thread would race for it
        runs.increment();
    });
    for (int i = 1; i <= 50; ++i) {
        worker.runWithPriority(0.5, 0);
        runs.waitFor(i);
    }
    worker.sleepUntilThreadExits(true, 0);
    EXPECT_EQ(threads.size(), 1u);
}

TEST(Thread, IsStartedAgainAfterItEnded) {
    Counter runs;
    Worker worker([&] { runs.increment(); });
    for (int i = 0; i < 200; ++i) {
        const int before = runs.value();
        worker.createThread();
        runs.waitFor(before + 1);
        ASSERT_TRUE(worker.sleepUntilThreadExits(true, 0));
    }
}

TEST(Thread, KeepsWhatEndedItUntilItIsStartedAgain) {
    bool fails = true;
    Worker worker([&] {
        if (fails) throw CParamException(kParameterError, "cannot index %s", "Kick.aif");
        CThread::exit();
    });
    worker.createThread();
    EXPECT_TRUE(worker.sleepUntilThreadExits(false, 0));
    EXPECT_EQ(failureOf(worker), "cannot index Kick.aif");
    EXPECT_THROW(std::rethrow_exception(worker.getFailure()), CParamException);
    fails = false;
    worker.createThread();
    EXPECT_TRUE(worker.sleepUntilThreadExits(false, 0));
    EXPECT_EQ(failureOf(worker), "");
}

TEST(Thread, RunsItsDestructorsWhenItExits) {
    struct Scope {
        bool& left;
        ~Scope() { left = true; }
    };
    bool left = false, wentOn = false;
    Worker worker([&] {
        const Scope scope{left};
        try {
            CThread::exit();
        } catch (const std::exception&) {
            wentOn = true;  // no handler for errors sees it
        }
        wentOn = true;
    });
    worker.createThread();
    EXPECT_TRUE(worker.sleepUntilThreadExits(false, 0));
    EXPECT_TRUE(left);
    EXPECT_FALSE(wentOn);
    EXPECT_EQ(failureOf(worker), "");
}

/// A long farewell of a thread's own, after all of its scopes.
struct Farewell {
    ~Farewell() {
        letOthersRun();
        if (m_said) *m_said = true;
    }
    bool* m_said = nullptr;
};

TEST(Thread, HasLeftNothingBehindWhenTheWaitIsOver) {
    Counter started;
    bool said = false;
    Worker worker([&] {
        thread_local Farewell farewell;
        farewell.m_said = &said;
        started.increment();
    });
    worker.createThread();
    started.waitFor(1);
    EXPECT_TRUE(worker.sleepUntilThreadExits(true, 0));
    EXPECT_TRUE(said);
}

TEST(Thread, IsWaitedForByMany) {
    Counter started;
    Worker worker([&] { started.increment(); });
    worker.createThread();
    started.waitFor(1);
    std::vector<std::jthread> waiters;
    for (const bool askToStop : {false, true, false, true})
        waiters.emplace_back([&, askToStop] { EXPECT_TRUE(worker.sleepUntilThreadExits(askToStop, 0)); });
}

// A wait once went on to the end of a thread that was started after the one it was for.
TEST(Thread, IsNotMixedUpWithTheOneStartedAfterIt) {
    Counter first, second, starts;
    bool restarts = true;
    Worker worker(
        [&] {
            starts.increment();
            (starts.value() == 1 ? first : second).waitFor(1);
        },
        [&] {
            first.increment();
            second.increment();
            if (!std::exchange(restarts, false)) return;
            waitUntilEnded(worker);
            worker.createThread();
            starts.waitFor(2);
        });
    worker.runWithPriority(0.5, kAnHour);
    starts.waitFor(1);
    EXPECT_TRUE(worker.sleepUntilThreadExits(true, 0));
    EXPECT_TRUE(worker.isThreadRunning());
}

TEST(Thread, CannotWaitForItself) {
    Worker worker([&] { worker.sleepUntilThreadExits(true, 0); });
    worker.createThread();
    EXPECT_TRUE(worker.sleepUntilThreadExits(false, 0));
    EXPECT_EQ(failureOf(worker), "a thread cannot wait for its own end");
}

TEST(Thread, ClampsItsPriorityAndRunsWithAny) {
    const std::pair<double, double> priorities[] = {
        {-3, 0},
        {0, 0},
        {0.25, 0.25},
        {0.5, 0.5},
        {0.75, 0.75},
        {1, 1},
        {97, 1},
        {std::numeric_limits<double>::infinity(), 1},
        {std::numeric_limits<double>::quiet_NaN(), 0.5},
    };
    for (const auto& [given, expected] : priorities) {
        Counter runs;
        Worker worker([&] { runs.increment(); });
        EXPECT_EQ(worker.getPriority(), 0.5);
        worker.runWithPriority(given, -1);
        runs.waitFor(1);
        EXPECT_EQ(worker.getPriority(), expected);
    }
}

TEST(Thread, GivesWayToOthersAtTheLowestPriority) {
    int niceInside = 0;
    const int niceBefore = ::getpriority(PRIO_PROCESS, 0);
    Worker worker([&] {
        niceInside = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
        CThread::exit();
    });
    worker.runWithPriority(0, 0);
    worker.sleepUntilThreadExits(false, 0);
    EXPECT_EQ(niceInside, 19);
    EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), niceBefore) << "only the thread itself";
}

/// A default stack larger than the address space, for the length of a scope: the system makes no thread.
class ImpossibleStack {
public:
    ImpossibleStack() {
        ::pthread_getattr_default_np(&m_before);
        pthread_attr_t impossible;
        ::pthread_attr_init(&impossible);
        ::pthread_attr_setstacksize(&impossible, std::numeric_limits<std::size_t>::max() / 4 * 3 & ~0xFFFFul);
        ::pthread_setattr_default_np(&impossible);
        ::pthread_attr_destroy(&impossible);
    }
    ~ImpossibleStack() {
        ::pthread_setattr_default_np(&m_before);
        ::pthread_attr_destroy(&m_before);
    }

private:
    pthread_attr_t m_before;
};

TEST(Thread, ReportsThatTheSystemMakesNone) {
    Counter runs;
    Worker worker([&] { runs.increment(); });
    {
        const ImpossibleStack stack;
        try {
            worker.createThread();
            FAIL() << "nothing was thrown";
        } catch (const CException& exception) {
            EXPECT_EQ(exception.getType(), kInternalError);
            EXPECT_EQ(exception.getCode(), EAGAIN);
        }
        EXPECT_FALSE(worker.isThreadRunning());
        EXPECT_TRUE(worker.sleepUntilThreadExits(true, 0));
    }
    worker.createThread();
    runs.waitFor(1);
}

/// A class that forgets to stop its thread.
class Careless : public CPThread {
public:
    explicit Careless(bool exits) : m_exits(exits) {}
    void runOnce() override {
        if (m_exits) CThread::exit();
    }

private:
    const bool m_exits;
};

TEST(Thread, MayEndByItselfUnseen) {
    Careless careless(true);
    careless.createThread();
    waitUntilEnded(careless);
}

#ifndef __SANITIZE_THREAD__  // which may report the race that this is before the process ends
TEST(ThreadDeathTest, EndsTheProcessWhenDestroyedWhileRunning) {
    GTEST_FLAG_SET(death_test_style, MARL_DEATH_TEST_STYLE);
    const auto destroyRunning = [] {
        Careless careless(false);
        careless.runWithPriority(0.5, kAnHour);
    };
    EXPECT_DEATH(destroyRunning(), "a thread object was destroyed while its thread runs");
}
#endif

}  // namespace
}  // namespace halyard
