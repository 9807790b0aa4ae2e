// SPDX-License-Identifier: MIT
/// \file
/// News between objects that need not know each other.
#pragma once

#include <MarlCore/platform/Export.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Posted by a program that is about to end, about itself.
inline constexpr std::string_view ApplicationWillTerminateNotification =
    "NSApplicationWillTerminateNotification";

/// What observers are handed; valid during their call.
struct Notification {
    std::string_view name;
    const void* object;  ///< what it is about, known by its address; may be null
};

/// Passes notifications on to those who asked for them, at once and in the order in which they asked.
///
/// Observers and objects are known by their addresses and never looked into. An observer of several base
/// classes passes the same pointer every time, and removes itself before it goes.
///
/// [any thread]. Handlers are called in the thread that posts; who is removed in another thread meanwhile may
/// be in its last call still.
class MARLCORE_EXPORT NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// The one of the process.
    static NotificationCenter& defaultCenter();

    /// Has `handler` called for every notification of that name about `object`, or about anything when it is
    /// null. Who asks twice is called twice.
    void addObserver(const void* observer, Handler handler, std::string_view name, const void* object);

    /// Undoes all that `observer` has asked for. It may be unknown.
    void removeObserver(const void* observer);
    /// Undoes what it has asked for under that name: about `object`, or about anything when that is null.
    void removeObserver(const void* observer, std::string_view name, const void* object);

    /// Calls the handlers before it returns. Handlers may add and remove observers, themselves included: who
    /// is removed meanwhile is not called any more, who is added has its first call with the next
    /// notification. An exception of a handler keeps no other one from its call; the first exception is
    /// thrown on in the end.
    void postNotification(std::string_view name, const void* object);

private:
    struct Registration;

    template <typename Predicate>
    void removeWhere(Predicate isMeant);

    std::mutex m_lock;                                           // guards the list; never held during a call
    std::vector<std::shared_ptr<Registration>> m_registrations;  // in the order of their coming
};

}  // namespace platform
