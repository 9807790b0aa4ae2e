// SPDX-License-Identifier: MIT
/// \file
/// A user's settings, kept in a file over defaults that are not.
#pragma once

#include <MarlCore/platform/PropertyList.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace platform {

/// Values by key: those that the user has set, and below them registered defaults. What is set is kept in a
/// property list; other processes may use the same file at the same time.
///
/// A setter counts in this process at once and writes the file before it returns, which waits for the disk:
/// set what a user drags when it is let go. Under a lock it reads the file again, changes its own keys and
/// replaces the file as a whole, so that two writers lose nothing of each other, and a process that is killed
/// leaves the old file or the new one. What others have written is seen after a setter or `synchronize`.
///
/// Setters throw `Exception` when the file cannot be written, naming it; the value counts in this process all
/// the same, and is written with the next one. A value or key that XML cannot hold is a `PropertyListError`
/// and changes nothing.
///
/// A damaged file is renamed to "PATH.damaged" (or "PATH.damaged-2" …), never overwritten, and a file that
/// cannot be read stays; the defaults apply, and the message handler is told once. Symbolic links stay as
/// they are: what is beside the file is beside the one that they lead to. [main thread]
class MARLCORE_EXPORT UserDefaults {
public:
    using Dictionary = PropertyList::Dictionary;
    using MessageHandler = std::function<void(const std::string&)>;

    /// Settings in the file at `path`, which need not exist, nor its folder. With an empty path nothing can
    /// be written. Reads the file when first asked for something.
    explicit UserDefaults(std::string path);
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// Those of the user: "preferences.plist" in `Bundle::userFolder`, as the environment has it at first
    /// use.
    static UserDefaults& standardUserDefaults();

    const std::string& path() const noexcept { return m_path; }

    /// Told in one sentence, path first, of a file that cannot be used. May read and set settings. Without
    /// one, standard error is told.
    void setMessageHandler(MessageHandler handler) { m_messageHandler = std::move(handler); }

    /// Adds defaults, in place of older ones of the same keys. They count where nothing is set, and are not
    /// written.
    void registerDefaults(Dictionary defaults);

    const Dictionary& registrationDomain() const noexcept { return m_registered; }
    /// What is set.
    const Dictionary& persistentDomain();

    // A value of another type than the getter's is none, but numbers and truth values stand in for each
    // other: 0 is false, a fraction is cut off, and what is too large is the largest. No value is 0 or
    // nothing.

    std::optional<PropertyList> objectForKey(std::string_view key);
    std::optional<std::string> stringForKey(std::string_view key);
    std::optional<Dictionary> dictionaryForKey(std::string_view key);
    std::optional<PropertyList::Array> arrayForKey(std::string_view key);
    float floatForKey(std::string_view key);
    std::int64_t integerForKey(std::string_view key);
    bool boolForKey(std::string_view key);

    void setObject(PropertyList value, std::string_view key);
    void setFloat(float value, std::string_view key) { setObject(value, key); }
    void setInteger(std::int64_t value, std::string_view key) { setObject(value, key); }
    void setBool(bool value, std::string_view key) { setObject(value, key); }
    /// Lets the default count again.
    void removeObjectForKey(std::string_view key);

    /// Writes what could not be written before, and reads what others have written. Throws as setters do.
    void synchronize();

private:
    const PropertyList* find(std::string_view key);
    void load();
    void read();
    Dictionary settingsInFile() const;
    Dictionary withPending(Dictionary settings) const;
    void withoutDamage(const std::function<void()>& use);
    void setAside(const std::string& reason);
    void mergeIntoFile();
    void change(std::string_view key, std::optional<PropertyList> value);
    void say(const std::string& message) const;
    [[noreturn]] void fail(const std::string& problem, const std::system_error& error) const;

    const std::string m_path;
    MessageHandler m_messageHandler;
    Dictionary m_registered;
    Dictionary m_set;  // as in the file, with what is pending
    std::map<std::string, std::optional<PropertyList>, std::less<>> m_pending;  // nothing: removed
    std::string m_problem;  // why the file cannot be read; empty: it can
    bool m_isLoaded = false;
};

}  // namespace platform
