// SPDX-License-Identifier: MIT
/// \file
/// What is measured of one intercepted timer.
#pragma once

#include <MarlCore/platform/Timer.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace marl {

/// An object and an operation of it, known by its name. The object is observed: when it has gone, it responds
/// to nothing any more.
class TimerAction {
public:
    TimerAction(const std::shared_ptr<const void>& target, std::string selector,
                platform::Timer::Handler operation);

    const std::string& selectorName() const noexcept { return m_selectorName; }
    bool isSameAs(const TimerAction& other) const noexcept;

    /// Calls the operation, and keeps the target meanwhile. False, without a call, when the target does not
    /// respond to it.
    bool perform(platform::Timer& timer) const;

private:
    std::weak_ptr<const void> m_target;
    const void* m_address;  // of the target: parts of one object share its owner
    std::string m_selectorName;
    platform::Timer::Handler m_operation;
};

/// A time of day, UTC, as the system's clock has it: it goes back when somebody sets the clock.
struct TimeOfDay {
    std::int64_t seconds = 0;  ///< since 1970
    std::int32_t microseconds = 0;

    static TimeOfDay now() noexcept;
    double secondsSince(const TimeOfDay& earlier) const noexcept;
};

using TimerActionRef = std::shared_ptr<const TimerAction>;

/// One measured call.
struct InvocationEntry {
    TimeOfDay start, end;
    double error;  ///< seconds since the call before, or since the timer was armed

    /// Its length in seconds. Deliberately, both times are read as one number each, whole seconds in the
    /// upper 32 bits, and what lies between the numbers counts as microseconds: right within one second of
    /// the clock, and very long (4294 s) for a call in which a new second begins. Reports flag these calls,
    /// and are compared with older ones.
    double delta() const noexcept;
};

/// One intercepted timer with its calls. [one thread at a time]
class TimerSetEntry {
public:
    /// `interval` in seconds. The timer is observed, and its address is not used again while it is.
    TimerSetEntry(const platform::TimerRef& timer, double interval, TimerActionRef action);

    const platform::Timer* timer() const noexcept { return m_address; }
    double interval() const noexcept { return m_interval; }
    const TimerActionRef& action() const noexcept { return m_action; }
    const TimeOfDay& lastInvocation() const noexcept { return m_lastInvocation; }
    const std::vector<InvocationEntry>& invocations() const noexcept { return m_invocations; }

    /// Has another timer take over. What was measured stays, and so does, deliberately, the interval by which
    /// calls are judged. The new timer's operation counts: an older one may refer to what has gone. Returns
    /// that older one.
    TimerActionRef setTimer(const platform::TimerRef& timer, TimerActionRef action);
    void resetInvocationTime() noexcept { m_lastInvocation = TimeOfDay::now(); }
    void addInvocation(const InvocationEntry& invocation) { m_invocations.push_back(invocation); }
    void clearStats() noexcept { m_invocations.clear(); }

private:
    std::weak_ptr<platform::Timer> m_timer;  // keeps the memory at the address, and not the timer
    const platform::Timer* m_address;
    double m_interval;
    TimerActionRef m_action;
    TimeOfDay m_lastInvocation = TimeOfDay::now();
    std::vector<InvocationEntry> m_invocations;
};

}  // namespace marl
