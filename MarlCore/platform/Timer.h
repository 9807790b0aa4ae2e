// SPDX-License-Identifier: MIT
/// \file
/// Calls that a run loop makes at their time.
#pragma once

#include <MarlCore/platform/Export.h>

#include <any>
#include <functional>
#include <memory>

namespace platform {

class RunLoop;
class Timer;
using TimerRef = std::shared_ptr<Timer>;

/// Calls its handler once, or again and again, while the `RunLoop` that it was added to runs. The loop keeps
/// it until it is invalidated. Dates are seconds of `AbsoluteTimeGetCurrent`. [the thread of the loop]
class MARLCORE_EXPORT Timer : public std::enable_shared_from_this<Timer> {
public:
    using Handler = std::function<void(Timer&)>;

    /// `interval` in seconds, until the first call and between calls; what is less than 0.0001 (or no number)
    /// counts as that. The timer waits for `RunLoop::addTimer`, which takes it as a `TimerRef`.
    Timer(double interval, bool repeats, Handler handler, std::any userInfo = {});

    /// A new timer in the run loop of this thread.
    static TimerRef scheduledTimerWithTimeInterval(double interval, bool repeats, Handler handler,
                                                   std::any userInfo = {});

    double timeInterval() const noexcept { return m_interval; }
    /// The host's own, as it was handed over.
    const std::any& userInfo() const noexcept { return m_userInfo; }

    /// When it is called next; without a meaning before it is in a run loop.
    double fireDate() const noexcept { return m_fireDate; }

    /// False once it is invalidated, or was called and does not repeat.
    bool isValid() const noexcept { return m_isValid; }

    /// Has no call made any more, takes the timer out of its loop and releases what the handler owns. The
    /// handler may do this in its call, which then ends in good order.
    void invalidate();

private:
    friend class RunLoop;

    void fire(double now);
    double dateAfter(double now) const noexcept;

    double m_interval;
    bool m_repeats;
    bool m_isValid = true;
    Handler m_handler;  // empty during its call
    std::any m_userInfo;
    double m_fireDate = 0;
    RunLoop* m_loop = nullptr;  // the one that keeps it
};

}  // namespace platform
