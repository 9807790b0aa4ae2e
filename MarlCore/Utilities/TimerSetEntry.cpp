// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/TimerSetEntry.h>

#include <utility>

#include <sys/time.h>

namespace marl {
namespace {

constexpr double kMicrosecondsInSecond = 1'000'000.0;

/// Seconds in the upper 32 bits, microseconds in the lower ones.
std::uint64_t asOneNumber(const TimeOfDay& time) noexcept {
    return static_cast<std::uint64_t>(time.seconds) << 32 | static_cast<std::uint32_t>(time.microseconds);
}

}  // namespace

TimerAction::TimerAction(const std::shared_ptr<const void>& target, std::string selector,
                         platform::Timer::Handler operation)
    : m_target(target),
      m_address(target.get()),
      m_selectorName(std::move(selector)),
      m_operation(std::move(operation)) {}

bool TimerAction::isSameAs(const TimerAction& other) const noexcept {
    const bool isSameOwner = !m_target.owner_before(other.m_target) && !other.m_target.owner_before(m_target);
    return isSameOwner && m_address == other.m_address && m_selectorName == other.m_selectorName;
}

bool TimerAction::perform(platform::Timer& timer) const {
    const std::shared_ptr<const void> target = m_target.lock();
    if (!target || !m_operation) return false;
    m_operation(timer);
    return true;
}

TimeOfDay TimeOfDay::now() noexcept {
    timeval now{};
    ::gettimeofday(&now, nullptr);
    return {now.tv_sec, static_cast<std::int32_t>(now.tv_usec)};
}

double TimeOfDay::secondsSince(const TimeOfDay& earlier) const noexcept {
    return static_cast<double>(seconds - earlier.seconds) +
           (microseconds - earlier.microseconds) / kMicrosecondsInSecond;
}

double InvocationEntry::delta() const noexcept {
    const auto difference = static_cast<std::int64_t>(asOneNumber(end) - asOneNumber(start));
    return static_cast<double>(difference) / kMicrosecondsInSecond;
}

TimerSetEntry::TimerSetEntry(const platform::TimerRef& timer, double interval, TimerActionRef action)
    : m_timer(timer), m_address(timer.get()), m_interval(interval), m_action(std::move(action)) {}

TimerActionRef TimerSetEntry::setTimer(const platform::TimerRef& timer, TimerActionRef action) {
    m_timer = timer;
    m_address = timer.get();
    return std::exchange(m_action, std::move(action));
}

}  // namespace marl
