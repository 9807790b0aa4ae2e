// SPDX-License-Identifier: MIT
#include "marl/Prefs.h"

#include "marl/NearKeys.h"
#include "marl/Output.h"
#include "marl/PreferenceValue.h"
#include "marl/TerminalText.h"
#include "marl/TextTable.h"

#include <array>
#include <functional>
#include <ostream>

namespace marl::tool {
namespace {

using platform::PropertyList;
using platform::UserDefaults;

constexpr std::array kColumns{TextTable::Column{"type", 12, false}, TextTable::Column{"from", 7, false},
                              TextTable::Column{"key", 38, false}};

/// All settings: what is set, and the defaults of the others.
UserDefaults::Dictionary allOf(UserDefaults& settings) {
    UserDefaults::Dictionary all = settings.persistentDomain();
    all.insert(settings.registrationDomain().begin(), settings.registrationDomain().end());
    return all;
}

bool isKnown(UserDefaults& settings, const std::string& key, std::ostream& err) {
    if (settings.objectForKey(key)) return true;
    std::vector<std::string> known;
    for (const auto& [name, value] : allOf(settings)) known.push_back(name);
    const std::string advice = didYouMean(nearTexts(key, known), ": 'marl prefs list' shows all");
    reportError(err, key, "there is no such setting" + advice);
    return false;
}

/// The default says what type is expected; a setting without one keeps the type that it has.
PropertyList::Type typeOf(UserDefaults& settings, const std::string& key) {
    const auto entry = settings.registrationDomain().find(key);
    return entry == settings.registrationDomain().end() ? settings.objectForKey(key)->type()
                                                        : entry->second.type();
}

/// Settings name their file when it cannot be written.
int statusOfWriting(const std::function<void()>& write, std::ostream& err) {
    try {
        write();
        return kDone;
    } catch (const platform::PropertyListError&) {
        throw;
    } catch (const platform::Exception& failure) {
        err << "marl: " << terminalText(failure.reason()) << "\n";
        return kFailed;
    }
}

}  // namespace

int runPrefsList(UserDefaults& settings, std::ostream& out, std::ostream& err) {
    TextTable table(out, kColumns, "value");
    for (const auto& [key, value] : allOf(settings)) {
        const bool isSet = settings.persistentDomain().contains(key);
        table.addRow({std::string(nameOfType(value.type())), isSet ? "user" : "default", terminalText(key)},
                     terminalText(textOfValue(value)));
    }
    return flushed(out, err) ? kDone : kFailed;
}

int runPrefsGet(UserDefaults& settings, const std::string& key, std::ostream& out, std::ostream& err) {
    if (!isKnown(settings, key, err)) return kWrongUsage;
    out << textOfValue(*settings.objectForKey(key)) << "\n";
    return flushed(out, err) ? kDone : kFailed;
}

int runPrefsSet(UserDefaults& settings, const std::string& key, const std::string& text, std::ostream& err) {
    if (!isKnown(settings, key, err)) return kWrongUsage;
    try {
        PropertyList value = valueFromText(key, typeOf(settings, key), text);
        return statusOfWriting([&] { settings.setObject(std::move(value), key); }, err);
    } catch (const BadPreferenceValue& fault) {
        reportError(err, key, fault.what());
    } catch (const platform::PropertyListError& fault) {
        reportError(err, key, fault.problem());
    }
    return kWrongUsage;
}

int runPrefsReset(UserDefaults& settings, const std::string& key, std::ostream& err) {
    if (!isKnown(settings, key, err)) return kWrongUsage;
    if (!settings.persistentDomain().contains(key)) return kDone;
    return statusOfWriting([&] { settings.removeObjectForKey(key); }, err);
}

}  // namespace marl::tool
