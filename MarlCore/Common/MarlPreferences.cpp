// SPDX-License-Identifier: MIT
#include <MarlCore/Common/MarlPreferences.h>

#include <MarlCore/Common/MarlColors.h>
#include <MarlCore/Common/MarlTextAttributes.h>
#include <MarlCore/platform/Bundle.h>
#include <MarlCore/platform/Exception.h>
#include <MarlCore/platform/KeyedArchiver.h>
#include <MarlCore/platform/UserDefaults.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace marl {
namespace {

using platform::PropertyList;
using platform::UserDefaults;
using Dictionary = PropertyList::Dictionary;

UserDefaults& store() {
    return UserDefaults::standardUserDefaults();
}

/// Null when the resource is missing or no dictionary.
std::unique_ptr<Dictionary> shippedDefaults() {
    const auto path = platform::Bundle::pathForResource("Default Values", "plist");
    if (!path) return nullptr;
    try {
        PropertyList values = PropertyList::load(*path);
        if (Dictionary* const dictionary = values.asDictionary())
            return std::make_unique<Dictionary>(std::move(*dictionary));
    } catch (const platform::PropertyListError&) {
        // as if it were missing
    }
    return nullptr;
}

}  // namespace

void MarlPreferences::initializeDefaults() {
    initializeMarlColors();
    initializeMarlTextAttributes();
    std::unique_ptr<Dictionary> defaultValues = shippedDefaults();
    if (!defaultValues) defaultValues.reset(new (std::nothrow) Dictionary);
    platform::assertParameter(defaultValues != nullptr, "defaultValues", "Common/MarlPreferences", 187);
    store().registerDefaults(std::move(*defaultValues));
}

std::optional<PropertyList> MarlPreferences::objectForKey(std::string_view key) {
    return store().objectForKey(key);
}

std::optional<platform::Color> MarlPreferences::colorForKey(std::string_view key) {
    const auto object = objectForKey(key);
    const PropertyList::Data* const data = object ? object->asData() : nullptr;
    if (!data) return std::nullopt;
    return platform::KeyedUnarchiver::unarchiveObjectWithData<platform::Color>(*data);
}

std::optional<std::string> MarlPreferences::stringForKey(std::string_view key) {
    return store().stringForKey(key);
}

std::optional<Dictionary> MarlPreferences::dictForKey(std::string_view key) {
    return store().dictionaryForKey(key);
}

std::optional<PropertyList::Array> MarlPreferences::arrayForKey(std::string_view key) {
    return store().arrayForKey(key);
}

float MarlPreferences::floatForKey(std::string_view key) {
    return store().floatForKey(key);
}

int MarlPreferences::intForKey(std::string_view key) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(
        std::clamp<std::int64_t>(store().integerForKey(key), Limits::min(), Limits::max()));
}

bool MarlPreferences::boolForKey(std::string_view key) {
    return store().boolForKey(key);
}

void MarlPreferences::setObject(PropertyList object, std::string_view key) {
    store().setObject(std::move(object), key);
}

void MarlPreferences::setColor(const platform::Color& color, std::string_view key) {
    store().setObject(platform::KeyedArchiver::archivedDataWithRootObject(color), key);
}

void MarlPreferences::setString(std::string text, std::string_view key) {
    store().setObject(std::move(text), key);
}

void MarlPreferences::setDict(Dictionary dictionary, std::string_view key) {
    store().setObject(std::move(dictionary), key);
}

void MarlPreferences::setArray(PropertyList::Array array, std::string_view key) {
    store().setObject(std::move(array), key);
}

void MarlPreferences::setFloat(float value, std::string_view key) {
    store().setFloat(value, key);
}

void MarlPreferences::setInt(int value, std::string_view key) {
    store().setInteger(value, key);
}

void MarlPreferences::setBool(bool value, std::string_view key) {
    store().setBool(value, key);
}

}  // namespace marl
