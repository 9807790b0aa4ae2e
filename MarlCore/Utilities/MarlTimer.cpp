// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/MarlTimer.h>

#include <MarlCore/Utilities/TimerReport.h>
#include <MarlCore/Utilities/TimerSetEntry.h>
#include <MarlCore/platform/Exception.h>
#include <MarlCore/platform/NotificationCenter.h>
#include <MarlCore/platform/RunLoop.h>

#include <algorithm>
#include <functional>
#include <map>
#include <thread>
#include <utility>

namespace marl {
namespace {

/// The `MarlTimer` of each thread.
class Registry {
public:
    static Registry& ofProcess() {
        static Registry registry;
        return registry;
    }

    template <typename Make>
    MarlTimerRef findOrInsert(std::thread::id thread, Make make) {
        const std::scoped_lock lock(m_lock);
        const auto found = m_timers.find(thread);
        return found != m_timers.end() ? found->second : m_timers.emplace(thread, make()).first->second;
    }

    std::vector<MarlTimerRef> all() {
        const std::scoped_lock lock(m_lock);
        std::vector<MarlTimerRef> timers;
        for (const auto& [thread, timer] : m_timers) timers.push_back(timer);
        return timers;
    }

    void clear() {
        std::map<std::thread::id, MarlTimerRef> removed;  // goes without the lock
        const std::scoped_lock lock(m_lock);
        removed.swap(m_timers);
    }

private:
    std::mutex m_lock;  // guards m_timers
    std::map<std::thread::id, MarlTimerRef> m_timers;
};

}  // namespace

// ---- Of this thread ----

MarlTimerRef MarlTimer::timerForCurrentThread() {
    return Registry::ofProcess().findOrInsert(std::this_thread::get_id(), [] {
        const auto timer = std::make_shared<MarlTimer>(Token());
        timer->init();
        return timer;
    });
}

bool MarlTimer::interceptingNSTimerForCurrentThread() {
    return timerForCurrentThread()->interceptingNSTimer();
}

platform::TimerRef MarlTimer::timerWithTimeInterval(double interval,
                                                    const std::shared_ptr<const void>& target,
                                                    Selector selector, std::any userInfo, bool repeats) {
    platform::assertParameter(target != nullptr, "target");
    auto action =
        std::make_shared<TimerAction>(target, std::move(selector.name), std::move(selector.operation));
    const MarlTimerRef own = timerForCurrentThread();
    if (own->interceptingNSTimer())
        return own->makeTimer(interval, std::move(action), std::move(userInfo), repeats);
    const auto handler = [action = std::move(action)](platform::Timer& timer) { action->perform(timer); };
    return std::make_shared<platform::Timer>(interval, repeats, handler, std::move(userInfo));
}

platform::TimerRef MarlTimer::scheduledTimerWithTimeInterval(double interval,
                                                             const std::shared_ptr<const void>& target,
                                                             Selector selector, std::any userInfo,
                                                             bool repeats) {
    const platform::TimerRef timer =
        timerWithTimeInterval(interval, target, std::move(selector), std::move(userInfo), repeats);
    platform::RunLoop::current().addTimer(timer);
    return timer;
}

// ---- Of all threads ----

void MarlTimer::setInterceptingNSTimerForAllThreads(bool intercepting) {
    for (const MarlTimerRef& timer : Registry::ofProcess().all()) timer->setInterceptingNSTimer(intercepting);
}

void MarlTimer::clearStatsForAllThreads() {
    for (const MarlTimerRef& timer : Registry::ofProcess().all()) timer->clearStats();
}

std::string MarlTimer::dumpResultsForAllThreads(bool withSummary) {
    std::string summary;
    for (const MarlTimerRef& timer : Registry::ofProcess().all()) summary += timer->dumpResults(withSummary);
    return summary;
}

// ---- Of one ----

MarlTimer::~MarlTimer() = default;

/// The centre keeps the observer, which so outlives its place in the registry until it has been told.
void MarlTimer::init() {
    platform::NotificationCenter::defaultCenter().addObserver(
        this, [self = shared_from_this()](const auto&) { self->applicationWillTerminate(); },
        platform::ApplicationWillTerminateNotification, nullptr);
}

void MarlTimer::applicationWillTerminate() {
    dumpResults(false);
    platform::NotificationCenter::defaultCenter().removeObserver(this);
    Registry::ofProcess().clear();
}

/// The timer keeps this object, as it would keep any target of its own; the entry does not keep the timer.
platform::TimerRef MarlTimer::makeTimer(double interval, ActionRef action, std::any userInfo, bool repeats) {
    const auto handler = [self = shared_from_this()](platform::Timer& timer) { self->marlTimerProc(timer); };
    const auto timer = std::make_shared<platform::Timer>(interval, repeats, handler, std::move(userInfo));
    _addTimer(timer, interval, std::move(action));
    return timer;
}

void MarlTimer::_addTimer(const platform::TimerRef& timer, double interval, ActionRef action) {
    ActionRef replaced;  // goes without the lock, as what it owns may call back
    const std::scoped_lock lock(m_lock);
    const auto same = std::ranges::find_if(
        m_entries, [&](const EntryRef& entry) { return entry->action()->isSameAs(*action); });
    if (same == m_entries.end()) {
        m_entries.insert(std::make_shared<TimerSetEntry>(timer, interval, std::move(action)));
        return;
    }
    auto node = m_entries.extract(same);  // the timer is what entries are sorted by
    replaced = node.value()->setTimer(timer, std::move(action));
    node.value()->resetInvocationTime();
    m_entries.insert(std::move(node));
}

/// The call may remove the entry, give it another timer or print a report. So it is made without the lock,
/// and what was measured goes to the entry that was found before, wherever that is now. How late it came
/// counts from the time that the entry had then: a call that makes its timer anew sets another one.
void MarlTimer::marlTimerProc(platform::Timer& timer) {
    EntryRef entry;  // both go without the lock
    ActionRef action;
    std::unique_lock lock(m_lock);
    const auto found = m_entries.find(&timer);
    if (found == m_entries.end()) return;
    entry = *found;
    action = entry->action();
    const TimeOfDay before = entry->lastInvocation();
    lock.unlock();

    const TimeOfDay start = TimeOfDay::now();
    if (!action->perform(timer)) removeTimerProc(timer);
    const TimeOfDay end = TimeOfDay::now();

    lock.lock();
    entry->addInvocation({start, end, start.secondsSince(before)});
    entry->resetInvocationTime();
}

void MarlTimer::removeTimerProc(const platform::Timer& timer) {
    EntryRef removed;  // goes without the lock
    const std::scoped_lock lock(m_lock);
    const auto found = m_entries.find(&timer);
    if (found == m_entries.end()) return;
    removed = *found;
    m_entries.erase(found);
}

void MarlTimer::clearStats() {
    const std::scoped_lock lock(m_lock);
    for (const EntryRef& entry : m_entries) entry->clearStats();
}

std::vector<TimerSetEntry> MarlTimer::snapshot() const {
    const std::scoped_lock lock(m_lock);
    std::vector<TimerSetEntry> entries;
    for (const EntryRef& entry : m_entries) entries.push_back(*entry);
    return entries;
}

std::string MarlTimer::dumpResults(bool withSummary) const {
    const std::vector<TimerSetEntry> entries = snapshot();
    return printTimerReport(this, entries, withSummary);
}

bool MarlTimer::ByTimer::operator()(const EntryRef& a, const EntryRef& b) const noexcept {
    return std::less<>()(a->timer(), b->timer());
}

bool MarlTimer::ByTimer::operator()(const EntryRef& a, const platform::Timer* b) const noexcept {
    return std::less<>()(a->timer(), b);
}

bool MarlTimer::ByTimer::operator()(const platform::Timer* a, const EntryRef& b) const noexcept {
    return std::less<>()(a, b->timer());
}

}  // namespace marl
