// SPDX-License-Identifier: MIT
#include <MarlCore/platform/UserDefaults.h>

#include <MarlCore/platform/Bundle.h>
#include <MarlCore/platform/FileDescriptorImpl.h>
#include <MarlCore/platform/WholeFileImpl.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

namespace platform {
namespace {

namespace fs = std::filesystem;
using Dictionary = PropertyList::Dictionary;

void require(bool holds) {
    if (!holds) throw std::system_error(errno, std::generic_category());
}

/// Keeps all other writers of the settings at `path` away, in this process and in others. A file of its own
/// holds the lock, beside the one behind all links: the settings' file changes its identity with every write.
class WritersLock {
public:
    explicit WritersLock(const std::string& path) : m_file(open(path)) {
        require(m_file.get() >= 0);
        int status;
        do status = ::flock(m_file.get(), LOCK_EX);
        while (status != 0 && errno == EINTR);
        require(status == 0);
    }

private:
    static int open(const std::string& path) {
        fs::create_directories(fs::path(path).parent_path());
        const std::string file = fileBehindLinks(path) + ".lock";
        return ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }

    const FileDescriptor m_file;
};

/// Why a file makes no sense.
class Damage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Empty while there is no file. Throws `Damage`, or `std::system_error` for a file that cannot be read.
Dictionary settingsIn(const std::string& path) {
    try {
        PropertyList list = PropertyList::parse(readWholeFile(path, PropertyList::kLargestFile));
        if (Dictionary* const settings = list.asDictionary()) return std::move(*settings);
        throw Damage("not a dictionary of settings");
    } catch (const PropertyListError& error) {
        throw Damage(error.reason());
    } catch (const std::system_error& error) {
        if (error.code().value() == ENOENT) return {};
        throw;
    }
}

bool isDamaged(const std::string& path) {
    try {
        settingsIn(path);
        return false;
    } catch (const Damage&) {
        return true;
    }
}

/// Nothing removes the entry.
void put(Dictionary& settings, const std::string& key, const std::optional<PropertyList>& value) {
    settings.erase(key);
    if (value) settings.emplace(key, *value);
}

/// A name for a damaged file that no other one has.
std::string freeNameBeside(const std::string& path) {
    const std::string first = path + ".damaged";
    std::string name = first;
    for (int number = 2; fs::exists(fs::symlink_status(name)); ++number)
        name = first + "-" + std::to_string(number);
    return name;
}

std::optional<double> numberOf(const PropertyList* value) {
    if (!value) return std::nullopt;
    if (const auto truth = value->asBoolean()) return *truth ? 1 : 0;
    return value->asReal();
}

std::int64_t integerOf(double value) {
    constexpr double kEnd = 9223372036854775808.0;  // 2^63
    if (std::isnan(value)) return 0;
    if (value >= kEnd) return std::numeric_limits<std::int64_t>::max();
    return value < -kEnd ? std::numeric_limits<std::int64_t>::min() : static_cast<std::int64_t>(value);
}

template <typename Value>
std::optional<Value> copyOf(const Value* value) {
    return value ? std::optional(*value) : std::nullopt;
}

}  // namespace

UserDefaults::UserDefaults(std::string path) : m_path(std::move(path)) {}

UserDefaults& UserDefaults::standardUserDefaults() {
    static UserDefaults defaults([] {
        const auto folder = Bundle::userFolder();
        return folder ? *folder + "/preferences.plist" : std::string();
    }());
    return defaults;
}

void UserDefaults::say(const std::string& message) const {
    if (m_messageHandler) return m_messageHandler(message);
    std::fprintf(stderr, "%s\n", message.c_str());
}

void UserDefaults::fail(const std::string& problem, const std::system_error& error) const {
    throw Exception("UserDefaultsError", m_path + ": " + problem + wordsFor(error));
}

// ---- The file ----

void UserDefaults::load() {
    if (!std::exchange(m_isLoaded, true)) read();
}

void UserDefaults::read() {
    if (m_path.empty()) return;
    std::string problem;
    try {
        withoutDamage([this] { m_set = withPending(settingsInFile()); });
    } catch (const Exception& failure) {
        problem = failure.reason();
    }
    const bool isNew = std::exchange(m_problem, problem) != problem;
    if (isNew && !problem.empty()) say(problem + "; the defaults apply");
}

Dictionary UserDefaults::settingsInFile() const {
    try {
        return settingsIn(m_path);
    } catch (const std::system_error& error) {
        fail("cannot be read: ", error);
    }
}

Dictionary UserDefaults::withPending(Dictionary settings) const {
    for (const auto& [key, value] : m_pending) put(settings, key, value);
    return settings;
}

/// Has `use` read the file, until it makes sense.
void UserDefaults::withoutDamage(const std::function<void()>& use) {
    for (;;) {
        try {
            return use();
        } catch (const Damage& damage) {
            setAside(damage.what());
        }
    }
}

/// What is known of a damaged file is the best there is: it is written again with the next setting. Told
/// without the lock, for who is told may set something.
void UserDefaults::setAside(const std::string& reason) {
    const std::string damage = "damaged (" + reason + ")";
    std::string aside;
    try {
        const WritersLock lock(m_path);
        if (!isDamaged(m_path)) return;  // another process was here first
        const std::string file = fileBehindLinks(m_path);
        aside = freeNameBeside(file);
        fs::rename(file, aside);
    } catch (const std::system_error& error) {
        fail(damage + ", and cannot be renamed: ", error);
    }
    for (const auto& [key, value] : m_set) m_pending.try_emplace(key, value);
    say(m_path + ": " + damage + "; kept as '" + aside + "'");
}

void UserDefaults::mergeIntoFile() {
    try {
        const WritersLock lock(m_path);
        const Dictionary inFile = settingsIn(m_path);
        Dictionary merged = withPending(inFile);
        if (inFile != merged) {
            const std::string xml = PropertyList(merged).toXML();
            if (xml.size() > PropertyList::kLargestFile)  // would not be read again
                throw std::system_error(EOVERFLOW, std::generic_category());
            replaceWholeFile(m_path, xml);
        }
        m_set = std::move(merged);
        m_pending.clear();
    } catch (const std::system_error& error) {
        fail("cannot be written: ", error);
    }
}

void UserDefaults::synchronize() {
    if (m_pending.empty()) {
        m_isLoaded = true;
        return read();
    }
    if (m_path.empty())
        throw Exception("UserDefaultsError", "settings cannot be kept: there is no home folder");
    withoutDamage([this] { mergeIntoFile(); });
}

// ---- Values ----

void UserDefaults::registerDefaults(Dictionary defaults) {
    defaults.merge(m_registered);
    m_registered = std::move(defaults);
}

const Dictionary& UserDefaults::persistentDomain() {
    load();
    return m_set;
}

const PropertyList* UserDefaults::find(std::string_view key) {
    for (const Dictionary* const domain : {&persistentDomain(), &registrationDomain()})
        if (const auto entry = domain->find(key); entry != domain->end()) return &entry->second;
    return nullptr;
}

std::optional<PropertyList> UserDefaults::objectForKey(std::string_view key) {
    return copyOf(find(key));
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) {
    const PropertyList* const value = find(key);
    return value ? copyOf(value->asString()) : std::nullopt;
}

std::optional<Dictionary> UserDefaults::dictionaryForKey(std::string_view key) {
    const PropertyList* const value = find(key);
    return value ? copyOf(value->asDictionary()) : std::nullopt;
}

std::optional<PropertyList::Array> UserDefaults::arrayForKey(std::string_view key) {
    const PropertyList* const value = find(key);
    return value ? copyOf(value->asArray()) : std::nullopt;
}

float UserDefaults::floatForKey(std::string_view key) {
    constexpr double kLargest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(numberOf(find(key)).value_or(0), -kLargest, kLargest));
}

std::int64_t UserDefaults::integerForKey(std::string_view key) {
    const PropertyList* const value = find(key);
    const auto integer = value ? value->asInteger() : std::nullopt;
    return integer ? *integer : integerOf(numberOf(value).value_or(0));
}

bool UserDefaults::boolForKey(std::string_view key) {
    return numberOf(find(key)).value_or(0) != 0;
}

void UserDefaults::setObject(PropertyList value, std::string_view key) {
    PropertyList(Dictionary{{std::string(key), value}}).toXML();  // throws for what XML cannot hold
    change(key, std::move(value));
}

void UserDefaults::removeObjectForKey(std::string_view key) {
    change(key, std::nullopt);
}

void UserDefaults::change(std::string_view key, std::optional<PropertyList> value) {
    load();
    put(m_set, std::string(key), value);
    m_pending.insert_or_assign(std::string(key), std::move(value));
    synchronize();
}

}  // namespace platform
