// SPDX-License-Identifier: MIT
#include <MarlCore/platform/RunLoop.h>

#include <MarlCore/platform/AbsoluteTime.h>
#include <MarlCore/platform/Exception.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

#include <sys/timerfd.h>
#include <unistd.h>

namespace platform {
namespace {

/// Rounded up, so that what wakes up at this time finds its timer due. Zero would mean no time at all.
timespec timespecOf(double date) noexcept {
    constexpr double kFirst = 1e-6, kLast = 2e9;  // seconds; the last one fits into any clock
    const double bounded = std::clamp(date, kFirst, kLast);
    const double seconds = std::floor(bounded);
    const double microseconds = std::min(std::ceil((bounded - seconds) * 1e6), 999999.0);
    timespec time{};
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_nsec = static_cast<long>(microseconds) * 1000;
    return time;
}

}  // namespace

RunLoop::~RunLoop() {
    while (!m_timers.empty()) TimerRef(m_timers.back())->invalidate();
    if (m_descriptor >= 0) ::close(m_descriptor);
}

RunLoop& RunLoop::current() {
    thread_local RunLoop loop;
    return loop;
}

void RunLoop::addTimer(const TimerRef& timer) {
    addTimer(timer, AbsoluteTimeGetCurrent());
}

void RunLoop::addTimer(const TimerRef& timer, double now) {
    assertParameter(std::isfinite(now), "now is finite");
    if (!timer->m_isValid || timer->m_loop) return;
    m_timers.push_back(timer);
    timer->m_loop = this;
    timer->m_fireDate = now + timer->m_interval;
    arm();
}

void RunLoop::remove(const Timer& timer) {
    std::erase_if(m_timers, [&](const TimerRef& one) { return one.get() == &timer; });
    arm();
}

std::optional<double> RunLoop::nextFireDate() const noexcept {
    const auto next = std::ranges::min_element(m_timers, {}, &Timer::m_fireDate);
    return next == m_timers.end() ? std::nullopt : std::optional((*next)->m_fireDate);
}

void RunLoop::fireDueTimers(double now) {
    assertParameter(std::isfinite(now), "now is finite");
    std::vector<TimerRef> due;
    std::ranges::copy_if(m_timers, std::back_inserter(due),
                         [now](const TimerRef& timer) { return timer->m_fireDate <= now; });
    std::ranges::stable_sort(due, {}, &Timer::m_fireDate);
    for (const TimerRef& timer : due)  // a call may have run this loop, or ended timers
        if (timer->m_loop == this && timer->m_fireDate <= now) timer->fire(now);
}

void RunLoop::runUntil(double date) {
    assertParameter(!std::isnan(date), "date is a number");
    constexpr double kLongestSleep = 3600;
    for (;;) {
        const double now = AbsoluteTimeGetCurrent();
        fireDueTimers(now);
        const auto next = nextFireDate();
        if (!next || now >= date) return;
        const double pause = std::min({*next - now, date - now, kLongestSleep});
        std::this_thread::sleep_for(std::chrono::duration<double>(pause));
    }
}

int RunLoop::fileDescriptor() {
    if (m_descriptor < 0) {
        // The steady clock is this one.
        m_descriptor = ::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
        if (m_descriptor < 0)
            throw Exception("RunLoopError",
                            "no file descriptor for timers: " + std::generic_category().message(errno));
        arm();
    }
    return m_descriptor;
}

/// Setting the time takes back that the descriptor is readable.
void RunLoop::arm() const noexcept {
    if (m_descriptor < 0) return;
    const auto next = nextFireDate();
    itimerspec setting{};  // zero: never
    if (next) setting.it_value = timespecOf(*next);
    ::timerfd_settime(m_descriptor, TFD_TIMER_ABSTIME, &setting, nullptr);
}

}  // namespace platform
