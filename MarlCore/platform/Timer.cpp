// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Timer.h>

#include <MarlCore/platform/RunLoop.h>

#include <cmath>
#include <utility>

namespace platform {
namespace {

constexpr double kShortestInterval = 0.0001;

/// Owns a timer's handler during its call, and gives it back when that is over, by an exception too. A timer
/// that is not valid any more has no use for it.
class Call {
public:
    Call(Timer& timer, Timer::Handler& home)
        : m_timer(timer), m_home(home), m_handler(std::exchange(home, nullptr)) {}
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() {
        if (m_handler && m_timer.isValid()) m_home = std::move(m_handler);
    }

    void make() const {
        if (m_handler) m_handler(m_timer);
    }

private:
    Timer& m_timer;
    Timer::Handler& m_home;
    Timer::Handler m_handler;
};

}  // namespace

Timer::Timer(double interval, bool repeats, Handler handler, std::any userInfo)
    : m_interval(interval > kShortestInterval ? interval : kShortestInterval),
      m_repeats(repeats),
      m_handler(std::move(handler)),
      m_userInfo(std::move(userInfo)) {}

TimerRef Timer::scheduledTimerWithTimeInterval(double interval, bool repeats, Handler handler,
                                               std::any userInfo) {
    const auto timer = std::make_shared<Timer>(interval, repeats, std::move(handler), std::move(userInfo));
    RunLoop::current().addTimer(timer);
    return timer;
}

void Timer::invalidate() {
    const TimerRef alive = weak_from_this().lock();  // the loop's reference may be the last one
    const Handler dying = std::exchange(m_handler, nullptr);
    m_isValid = false;
    if (RunLoop* const loop = std::exchange(m_loop, nullptr)) loop->remove(*this);
}

/// The first date after `now` that lies a whole number of intervals behind the last one: calls that were
/// missed are not made up for, and a repeating timer keeps its beat.
double Timer::dateAfter(double now) const noexcept {
    const double date = m_fireDate + (std::floor((now - m_fireDate) / m_interval) + 1) * m_interval;
    return date > now ? date : now + m_interval;  // rounded to `now`
}

void Timer::fire(double now) {
    const Call call(*this, m_handler);
    if (m_repeats) {
        m_fireDate = dateAfter(now);
        m_loop->arm();
    } else {
        invalidate();
    }
    call.make();  // nothing in a call within its own call
}

}  // namespace platform
