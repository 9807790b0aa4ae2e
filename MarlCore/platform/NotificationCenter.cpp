// SPDX-License-Identifier: MIT
#include <MarlCore/platform/NotificationCenter.h>

#include <atomic>
#include <exception>
#include <utility>

namespace platform {

struct NotificationCenter::Registration {
    const void* observer;
    Handler handler;
    std::string name;
    const void* object;
    std::atomic<bool> isRemoved{false};

    Registration(const void* theObserver, Handler theHandler, std::string_view theName, const void* theObject)
        : observer(theObserver), handler(std::move(theHandler)), name(theName), object(theObject) {}

    bool asksFor(const Notification& notification) const noexcept {
        return name == notification.name && (!object || object == notification.object);
    }
};

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

void NotificationCenter::addObserver(const void* observer, Handler handler, std::string_view name,
                                     const void* object) {
    auto registration = std::make_shared<Registration>(observer, std::move(handler), name, object);
    const std::scoped_lock lock(m_lock);
    m_registrations.push_back(std::move(registration));
}

template <typename Predicate>
void NotificationCenter::removeWhere(Predicate isMeant) {
    // What handlers own goes when the list is in order again: its end may call back.
    std::vector<std::shared_ptr<Registration>> removed, kept;
    const std::scoped_lock lock(m_lock);
    for (const auto& registration : m_registrations)
        (isMeant(*registration) ? removed : kept).push_back(registration);
    m_registrations.swap(kept);
    for (const auto& registration : removed) registration->isRemoved = true;
}

void NotificationCenter::removeObserver(const void* observer) {
    removeWhere([observer](const Registration& one) { return one.observer == observer; });
}

void NotificationCenter::removeObserver(const void* observer, std::string_view name, const void* object) {
    removeWhere([=](const Registration& one) {
        return one.observer == observer && one.name == name && (!object || one.object == object);
    });
}

void NotificationCenter::postNotification(std::string_view name, const void* object) {
    const Notification notification{name, object};
    std::unique_lock lock(m_lock);
    const auto registrations = m_registrations;  // those of now, kept alive while they run
    lock.unlock();
    std::exception_ptr first;
    for (const auto& registration : registrations) {
        if (registration->isRemoved || !registration->asksFor(notification)) continue;
        try {
            registration->handler(notification);
        } catch (...) {
            if (!first) first = std::current_exception();
        }
    }
    if (first) std::rethrow_exception(first);
}

}  // namespace platform
