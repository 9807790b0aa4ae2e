// SPDX-License-Identifier: MIT
/// \file
/// The timers of a thread, and three ways to have them called.
#pragma once

#include <MarlCore/platform/Timer.h>

#include <optional>
#include <vector>

namespace platform {

/// Keeps the timers of one thread. A host calls them in one of three ways:
///
/// - it has nothing else to do until a date: `runUntil(date)`;
/// - its own loop can wait for a date: up to `nextFireDate()`, then `fireDueTimers(now)`;
/// - its own loop waits for file descriptors: until `fileDescriptor()` becomes readable, then
///   `fireDueTimers(AbsoluteTimeGetCurrent())`.
///
/// Dates are finite seconds of `AbsoluteTimeGetCurrent`, a clock that never goes back; an `Exception` is
/// thrown for others. [one thread]
class MARLCORE_EXPORT RunLoop {
public:
    RunLoop() = default;
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    /// Invalidates its timers.
    ~RunLoop();

    /// The run loop of this thread; lives as long as the thread.
    static RunLoop& current();

    /// Keeps the timer and has it called from one interval after now on. Does nothing for a timer that is not
    /// valid or is in a run loop already.
    void addTimer(const TimerRef& timer);
    /// The same, with `now` handed in.
    void addTimer(const TimerRef& timer, double now);

    /// When the next timer is due (a date in the past: it is due already), or nothing without timers.
    std::optional<double> nextFireDate() const noexcept;

    /// Calls each timer that is due at `now` once, the longest due first, whatever it has missed; then it is
    /// due at its next beat after `now`. Handlers may invalidate and add timers: who is added has its first
    /// call with the next `fireDueTimers`. An exception of a handler is thrown on at once: its own timer
    /// stays in beat, and those that were still to be called stay due. A handler may run the loop in turn;
    /// its own timer is passed over then.
    void fireDueTimers(double now);

    /// Calls timers as they fall due, and sleeps in between, until `date` (which may be infinite) or until no
    /// timer is left.
    void runUntil(double date);

    /// A descriptor that is readable (`POLLIN`) while a timer is due. Made when first asked for; owned by the
    /// loop, neither to be read nor closed. Throws `Exception` when the process has no descriptor left.
    int fileDescriptor();

private:
    friend class Timer;

    void remove(const Timer& timer);
    void arm() const noexcept;

    std::vector<TimerRef> m_timers;  // in the order of their coming
    int m_descriptor = -1;           // -1 while nobody has asked for it
};

}  // namespace platform
