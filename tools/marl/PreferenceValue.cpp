// SPDX-License-Identifier: MIT
#include "marl/PreferenceValue.h"

#include "marl/Output.h"
#include "marl/TextTable.h"

#include <MarlCore/Common/MarlPreferenceKeys.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace marl::tool {
namespace {

using platform::PropertyList;
using Type = PropertyList::Type;

// ---- What is allowed ----

struct Bounds {
    std::string_view key;
    double least, most;
};

/// Of the numbers that the library itself relies on.
constexpr std::array kBounds{
    Bounds{MarlPeaksTableIntervalKey, 1, std::numeric_limits<std::int32_t>::max()},
    Bounds{MarlWaveformOpacityKey, 0, 1},
    Bounds{MarlGhostedAudioSectionOpacityKey, 0, 1},
};

/// Settings are read as `int` and as `float`.
Bounds boundsOf(std::string_view key, Type type) {
    for (const Bounds& bounds : kBounds)
        if (bounds.key == key) return bounds;
    if (type == Type::kReal)
        return {key, std::numeric_limits<float>::lowest(), std::numeric_limits<float>::max()};
    return {key, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
}

bool isBounded(const Bounds& bounds) {
    return bounds.most < static_cast<double>(std::numeric_limits<float>::max());
}

std::string inQuotes(std::string_view text) {
    return std::string("'").append(text).append("'");
}

/// The start of what is long: a message is one line to read.
[[noreturn]] void refuse(const std::string& text, std::string_view allowed) {
    constexpr std::size_t kMostShown = 60, kMostBytes = 4 * kMostShown;  // characters, of up to 4 bytes
    const std::string shown = text.size() > kMostBytes ? fitted(text, kMostShown) : text;
    throw BadPreferenceValue(inQuotes(shown).append(" is not ").append(allowed));
}

// ---- Numbers ----

template <typename Number>
std::optional<Number> numberFrom(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

PropertyList integerFrom(std::string_view key, const std::string& text) {
    const Bounds bounds = boundsOf(key, Type::kInteger);
    const auto number = numberFrom<std::int32_t>(text);
    if (number && *number >= bounds.least && *number <= bounds.most) return *number;
    refuse(text, formatted("a whole number from %.0f to %.0f", bounds.least, bounds.most));
}

PropertyList realFrom(std::string_view key, const std::string& text) {
    const Bounds bounds = boundsOf(key, Type::kReal);
    const auto number = numberFrom<double>(text);
    if (number && *number >= bounds.least && *number <= bounds.most) return *number;
    refuse(text, isBounded(bounds) ? formatted("a number from %g to %g", bounds.least, bounds.most)
                                   : "a number such as 0.5");
}

PropertyList booleanFrom(const std::string& text) {
    for (const char* const word : {"true", "yes", "on", "1"})
        if (text == word) return true;
    for (const char* const word : {"false", "no", "off", "0"})
        if (text == word) return false;
    refuse(text, "true or false");
}

PropertyList stringFrom(std::string_view key, const std::string& text) {
    const bool isChoice = key == MarlDocumentStartupBehaviorKey;
    if (isChoice && text != kMarlDocumentStartupLastUsed && text != kMarlDocumentStartupOpenUntitled)
        refuse(text, inQuotes(kMarlDocumentStartupLastUsed)
                         .append(" or ")
                         .append(inQuotes(kMarlDocumentStartupOpenUntitled)));
    return text;
}

// ---- JSON ----

json jsonOf(const PropertyList& value) {
    if (const PropertyList::Dictionary* const dictionary = value.asDictionary()) {
        json object = json::object();
        for (const auto& [key, entry] : *dictionary) object[key] = jsonOf(entry);
        return object;
    }
    if (const PropertyList::Array* const array = value.asArray()) {
        json list = json::array();
        for (const PropertyList& element : *array) list.push_back(jsonOf(element));
        return list;
    }
    if (const std::string* const text = value.asString()) return *text;
    if (const auto truth = value.asBoolean()) return *truth;
    if (const auto integer = value.asInteger()) return *integer;
    if (const auto real = value.asReal()) return *real;
    if (const PropertyList::Data* const data = value.asData()) return formatted("(%zu bytes)", data->size());
    return "(a date)";
}

/// JSON does not bound its integers; those that a setting cannot hold become reals.
bool isInteger(const json& value) {
    if (!value.is_number_unsigned()) return value.is_number_integer();
    return std::in_range<std::int64_t>(value.get<std::uint64_t>());
}

PropertyList listFrom(const json& value, int depth);

PropertyList::Dictionary dictionaryFrom(const json& object, int depth) {
    PropertyList::Dictionary dictionary;
    for (const auto& [key, entry] : object.items()) dictionary.emplace(key, listFrom(entry, depth));
    return dictionary;
}

PropertyList::Array arrayFrom(const json& list, int depth) {
    PropertyList::Array array;
    for (const json& element : list) array.push_back(listFrom(element, depth));
    return array;
}

/// `depth`: the containers around the value.
PropertyList listFrom(const json& value, int depth) {
    if (depth >= PropertyList::kMostNested) throw BadPreferenceValue("nested too deeply");
    if (value.is_object()) return dictionaryFrom(value, depth + 1);
    if (value.is_array()) return arrayFrom(value, depth + 1);
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>();
    if (isInteger(value)) return value.get<std::int64_t>();
    if (value.is_number()) return value.get<double>();
    throw BadPreferenceValue("null has no place in a setting");
}

PropertyList containerFrom(Type type, const std::string& text) {
    const json value = json::parse(text, nullptr, false);
    if (type == Type::kArray && value.is_array()) return listFrom(value, 0);
    if (type == Type::kDictionary && value.is_object()) return listFrom(value, 0);
    refuse(text, type == Type::kArray ? R"(a list in JSON, such as ["one", "two"])"
                                      : R"(a dictionary in JSON, such as {"name": 1})");
}

}  // namespace

std::string textOfValue(const PropertyList& value) {
    if (const std::string* const text = value.asString()) return *text;
    const json described = jsonOf(value);
    return described.is_string() ? described.get<std::string>()
                                 : described.dump(-1, ' ', false, json::error_handler_t::replace);
}

PropertyList valueFromText(std::string_view key, Type type, const std::string& text) {
    switch (type) {
        case Type::kInteger:
            return integerFrom(key, text);
        case Type::kReal:
            return realFrom(key, text);
        case Type::kBoolean:
            return booleanFrom(text);
        case Type::kString:
            return stringFrom(key, text);
        case Type::kArray:
        case Type::kDictionary:
            return containerFrom(type, text);
        case Type::kData:
        case Type::kDate:
            break;
    }
    throw BadPreferenceValue("is set by programs only");
}

std::string_view nameOfType(Type type) {
    switch (type) {
        case Type::kInteger:
            return "whole number";
        case Type::kReal:
            return "number";
        case Type::kBoolean:
            return "true/false";
        case Type::kString:
            return "text";
        case Type::kArray:
            return "list";
        case Type::kDictionary:
            return "dictionary";
        case Type::kData:
            return "data";
        case Type::kDate:
            return "date";
    }
    return "";
}

}  // namespace marl::tool
