// SPDX-License-Identifier: MIT
/// \file
/// Property lists: structured values with an XML form, in which settings and dictionaries are stored.
#pragma once

#include <MarlCore/platform/Exception.h>

#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

/// A property list that cannot be read or written: `reason()` says where and what is wrong, for example
/// "line 12: expected a <key>, found <string>", with the path before it when it came from a file.
class MARLCORE_EXPORT PropertyListError : public Exception {
public:
    /// `line` counts from 1; 0 where the fault is not in a line of text.
    PropertyListError(int line, const std::string& problem);

    int line() const noexcept { return m_line; }
    /// What is wrong, without the place.
    const std::string& problem() const noexcept { return m_problem; }

    /// The same error, said of the file at `path`.
    PropertyListError inFile(const std::string& path) const;

private:
    PropertyListError(int line, std::string problem, const std::string& place);

    int m_line;
    std::string m_problem;
};

/// One value: a dictionary, an array, or a single string, number, truth value, block of bytes or date. A
/// value type: copies are deep. [one thread at a time; const operations: any thread]
///
///     const PropertyList list = PropertyList::load(path);
///     if (const std::string* name = list["Project"]["Name"].asString()) show(*name);
///
/// A getter of another type than the value's gives null or nothing, so that a file which holds something
/// unexpected is met without an exception.
class MARLCORE_EXPORT PropertyList {
public:
    enum class Type { kDictionary, kArray, kString, kInteger, kReal, kBoolean, kData, kDate };

    using Dictionary = std::map<std::string, PropertyList, std::less<>>;
    using Array = std::vector<PropertyList>;
    using Data = std::vector<std::byte>;
    using Date = std::chrono::sys_seconds;  ///< UTC

    /// Containers within containers that are read and written; deeper lists are an error.
    static constexpr int kMostNested = 512;
    /// Bytes of a file that `load` accepts.
    static constexpr std::size_t kLargestFile = std::size_t{64} << 20;

    PropertyList() = default;  ///< an empty dictionary
    PropertyList(Dictionary value) : m_value(std::move(value)) {}
    PropertyList(Array value) : m_value(std::move(value)) {}
    PropertyList(std::string value) : m_value(std::move(value)) {}
    PropertyList(std::string_view value) : m_value(std::string(value)) {}
    PropertyList(const char* value) : m_value(std::string(value)) {}
    PropertyList(std::same_as<bool> auto value) : m_value(value) {}
    PropertyList(std::floating_point auto value) : m_value(static_cast<double>(value)) {}
    /// Any integer whose every value fits into 64 bits with a sign.
    template <std::integral Integer>
    requires(!std::same_as<Integer, bool> && (std::is_signed_v<Integer> || sizeof(Integer) < 8))
        PropertyList(Integer value)
        : m_value(static_cast<std::int64_t>(value)) {}
    PropertyList(Data value) : m_value(std::move(value)) {}
    PropertyList(Date value) : m_value(value) {}

    Type type() const noexcept { return static_cast<Type>(m_value.index()); }

    // The value, when it is of that type. Pointers are valid as long as this object is and its value is not
    // assigned.

    const Dictionary* asDictionary() const noexcept { return std::get_if<Dictionary>(&m_value); }
    Dictionary* asDictionary() noexcept { return std::get_if<Dictionary>(&m_value); }
    const Array* asArray() const noexcept { return std::get_if<Array>(&m_value); }
    Array* asArray() noexcept { return std::get_if<Array>(&m_value); }
    const std::string* asString() const noexcept { return std::get_if<std::string>(&m_value); }
    const Data* asData() const noexcept { return std::get_if<Data>(&m_value); }
    std::optional<std::int64_t> asInteger() const noexcept { return copy<std::int64_t>(); }
    /// An integer counts as a real as well: people write 1 for 1.0.
    std::optional<double> asReal() const noexcept;
    std::optional<bool> asBoolean() const noexcept { return copy<bool>(); }
    std::optional<Date> asDate() const noexcept { return copy<Date>(); }

    /// The entry of a dictionary, or null when there is none or this is no dictionary.
    const PropertyList* find(std::string_view key) const noexcept;
    /// The same, with an empty dictionary in place of null: look-ups into nested dictionaries can be chained.
    const PropertyList& operator[](std::string_view key) const noexcept;

    /// The same type and value. An integer never equals a real, and NaN equals nothing.
    friend MARLCORE_EXPORT bool operator==(const PropertyList& a, const PropertyList& b);

    /// Reads the XML form: `<plist version="1.0">` around one value, in UTF-8 with or without a byte-order
    /// mark. Throws `PropertyListError` with the line for anything else.
    ///
    /// Comments, processing instructions, the document type and attributes are passed over; no entities but
    /// the five of XML and character numbers are known. The last of several equal keys counts. Line ends
    /// become "\n", as XML has it. Integers are decimal or hexadecimal ("0x1F") of 64 bits with a sign, reals
    /// decimal, "nan" or "[+-]inf[inity]", data base64 with blanks anywhere, dates "2026-11-21T10:00:00Z".
    static PropertyList parse(std::string_view xml);

    /// `parse` of the file at `path`; errors name it. A file that cannot be read, or of more than
    /// `kLargestFile` bytes, is a `PropertyListError` too.
    static PropertyList load(const std::string& path);

    /// The XML form, from which `parse` makes an equal value: reals keep every bit (NaN its being one), and
    /// dictionaries are written in the order of their keys. Throws `PropertyListError` for what XML cannot
    /// hold, so that nothing is ever lost silently: text with control characters (other than tab and line
    /// ends), U+FFFE, U+FFFF or bytes that are not UTF-8 (store a path that may be such as data), dates
    /// outside of the years 0 to 9999, and containers nested deeper than `kMostNested`.
    std::string toXML() const;

private:
    template <typename Value>
    std::optional<Value> copy() const noexcept {
        const Value* const value = std::get_if<Value>(&m_value);
        return value ? std::optional<Value>(*value) : std::nullopt;
    }

    // In the order of `Type`.
    std::variant<Dictionary, Array, std::string, std::int64_t, double, bool, Data, Date> m_value;
};

}  // namespace platform
