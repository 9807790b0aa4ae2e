// SPDX-License-Identifier: MIT
/// \file
/// Timers whose lateness and length can be measured.
#pragma once

#include <MarlCore/platform/Timer.h>

#include <any>
#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace marl {

class MarlTimer;
class TimerAction;
class TimerSetEntry;
using MarlTimerRef = std::shared_ptr<MarlTimer>;

/// Makes the timers of a host and, once it is told to, steps in between each timer and its target: it writes
/// down how late every call came and how long it took, and prints a report of them.
///
///     MarlTimer::timerForCurrentThread()->setInterceptingNSTimer(true);  // before its timers are made
///     MarlTimer::scheduledTimerWithTimeInterval(1 / 15.0, view, {"redraw", [&](auto&) { ... }}, {}, true);
///     ...
///     MarlTimer::dumpResultsForAllThreads(false);
///
/// There is one a thread. It measures timers made in its thread while it is intercepting, and no older ones.
/// What it has measured lasts until it is cleared, or until the host posts that it will terminate
/// (`platform::ApplicationWillTerminateNotification`): each one then prints its report and goes. A thread
/// that takes over the identifier of one that has ended takes over its `MarlTimer`.
///
/// A timer calls its target as long as that exists, and does not keep it; the target invalidates its timers
/// when it is done with them. [any thread], except that the calls come in the thread of the timer's run loop.
class MARLCORE_EXPORT MarlTimer : public std::enable_shared_from_this<MarlTimer> {
    struct Token {};  // for `timerForCurrentThread` alone

public:
    /// An operation of a target, measured under its name. Without an operation, no target responds to it.
    struct Selector {
        std::string name;
        platform::Timer::Handler operation;
    };

    /// The heading that the summary of `dumpResults` is shown under.
    static constexpr std::string_view kSummaryHeading = "NSTimer performance results";

    // ---- Of this thread ----

    /// The one of this thread, made with the first call.
    static MarlTimerRef timerForCurrentThread();
    /// Whether timers made in this thread are measured.
    static bool interceptingNSTimerForCurrentThread();

    /// A timer for `RunLoop::addTimer`. `interval` in seconds. `target` is any object of a host, not null (a
    /// `platform::Exception` otherwise), the selector's operation one that belongs to it. One intercepted
    /// timer counts for a target and a name: another one made for the same two goes on with what the first
    /// has measured, and the first, if it is still running, calls nothing any more.
    static platform::TimerRef timerWithTimeInterval(double interval,
                                                    const std::shared_ptr<const void>& target,
                                                    Selector selector, std::any userInfo, bool repeats);
    /// The same, in the run loop of this thread.
    static platform::TimerRef scheduledTimerWithTimeInterval(double interval,
                                                             const std::shared_ptr<const void>& target,
                                                             Selector selector, std::any userInfo,
                                                             bool repeats);

    // ---- Of all threads that have one ----
    //
    // The registry's lock is deliberately not held while these walk the threads: a report may take its time,
    // and a thread that makes its first timer must not wait for it. They walk the `MarlTimer`s that there are
    // at the call, and reach no thread that makes its own later: not even this one.

    static void setInterceptingNSTimerForAllThreads(bool intercepting);
    static void clearStatsForAllThreads();
    /// The summaries one after the other.
    static std::string dumpResultsForAllThreads(bool withSummary);

    // ---- Of one ----

    explicit MarlTimer(Token) {}
    MarlTimer(const MarlTimer&) = delete;
    MarlTimer& operator=(const MarlTimer&) = delete;
    ~MarlTimer();

    /// Off at first. Timers that are intercepted stay so, and are measured, when it is set off.
    void setInterceptingNSTimer(bool intercepting) noexcept { m_interceptingNSTimer = intercepting; }
    bool interceptingNSTimer() const noexcept { return m_interceptingNSTimer; }

    /// Forgets the calls, and keeps the timers.
    void clearStats();

    /// Prints a report to standard output: a line a timer, below it a line for each call that was late or
    /// took half a millisecond or more, and how many were late and too long. Returns, if asked for it, a
    /// summary of two lines a timer; where that is shown is up to the host.
    std::string dumpResults(bool withSummary) const;

private:
    using ActionRef = std::shared_ptr<const TimerAction>;
    using EntryRef = std::shared_ptr<TimerSetEntry>;
    struct ByTimer {
        using is_transparent = void;
        bool operator()(const EntryRef& a, const EntryRef& b) const noexcept;
        bool operator()(const EntryRef& a, const platform::Timer* b) const noexcept;
        bool operator()(const platform::Timer* a, const EntryRef& b) const noexcept;
    };

    void init();
    platform::TimerRef makeTimer(double interval, ActionRef action, std::any userInfo, bool repeats);
    void _addTimer(const platform::TimerRef& timer, double interval, ActionRef action);
    void marlTimerProc(platform::Timer& timer);
    void removeTimerProc(const platform::Timer& timer);
    void applicationWillTerminate();
    std::vector<TimerSetEntry> snapshot() const;

    std::atomic<bool> m_interceptingNSTimer{false};
    mutable std::mutex m_lock;              // guards the entries; never held during a call or a report
    std::set<EntryRef, ByTimer> m_entries;  // by the address of the timer
};

}  // namespace marl
