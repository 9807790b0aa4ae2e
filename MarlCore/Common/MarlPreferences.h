// SPDX-License-Identifier: MIT
/// \file
/// The settings of the system.
#pragma once

#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/platform/Color.h>
#include <MarlCore/platform/PropertyList.h>

#include <optional>
#include <string>
#include <string_view>

namespace marl {

/// Reads and sets what a user can choose, by the keys of MarlPreferenceKeys.h. Every operation goes to
/// `platform::UserDefaults::standardUserDefaults()` at the time of the call, whose comment says how settings
/// are kept, and when setters throw. [main thread]
class MARLCORE_EXPORT MarlPreferences {
public:
    /// To be called once, at the start of the program: makes the shared colours and text attributes, and
    /// registers the values of the resource "Default Values.plist". Without it (or where it makes no sense)
    /// nothing has a default: getters give 0 or nothing where nothing is set.
    static void initializeDefaults();

    // A getter gives nothing, or 0, for a value of another type; numbers stand in for each other.

    static std::optional<platform::PropertyList> objectForKey(std::string_view key);
    static std::optional<platform::Color> colorForKey(std::string_view key);
    static std::optional<std::string> stringForKey(std::string_view key);
    static std::optional<platform::PropertyList::Dictionary> dictForKey(std::string_view key);
    static std::optional<platform::PropertyList::Array> arrayForKey(std::string_view key);
    static float floatForKey(std::string_view key);
    static int intForKey(std::string_view key);
    static bool boolForKey(std::string_view key);

    static void setObject(platform::PropertyList object, std::string_view key);
    static void setColor(const platform::Color& color, std::string_view key);
    static void setString(std::string text, std::string_view key);
    static void setDict(platform::PropertyList::Dictionary dictionary, std::string_view key);
    static void setArray(platform::PropertyList::Array array, std::string_view key);
    static void setFloat(float value, std::string_view key);
    static void setInt(int value, std::string_view key);
    static void setBool(bool value, std::string_view key);
};

}  // namespace marl
