// SPDX-License-Identifier: MIT
#include <MarlCore/platform/KeyedArchiver.h>

#include <MarlCore/platform/PropertyListText.h>

#include <filesystem>
#include <utility>

namespace platform {
namespace {

// An archive is a dictionary of these two, in XML.
constexpr std::string_view kClassKey = "class", kPartsKey = "parts";

PropertyList::Data dataOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

std::string textOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

void KeyedArchiver::encodeInt32(std::int32_t value, std::string_view key) {
    m_parts.insert_or_assign(std::string(key), value);
}

void KeyedArchiver::encodeDouble(double value, std::string_view key) {
    m_parts.insert_or_assign(std::string(key), value);
}

void KeyedArchiver::encodeObject(const std::optional<std::string>& text, std::string_view key) {
    m_parts.erase(std::string(key));
    if (!text) return;
    const bool fitsIntoXML = findNoXMLCharacter(*text) == std::string_view::npos;
    m_parts.emplace(key, fitsIntoXML ? PropertyList(*text) : PropertyList(dataOf(*text)));
}

void KeyedArchiver::encodeObject(const std::optional<URL>& url, std::string_view key) {
    encodeObject(url ? std::optional(url->string()) : std::nullopt, key);
}

PropertyList::Data KeyedArchiver::archived(std::string_view className) const {
    const PropertyList archive(
        PropertyList::Dictionary{{std::string(kClassKey), className}, {std::string(kPartsKey), m_parts}});
    return dataOf(archive.toXML());
}

std::optional<KeyedUnarchiver> KeyedUnarchiver::forArchive(std::span<const std::byte> data,
                                                           std::string_view className) {
    try {
        const PropertyList archive = PropertyList::parse(textOf(data));
        const std::string* const name = archive[kClassKey].asString();
        const PropertyList* const parts = archive.find(kPartsKey);
        if (name && *name == className && parts && parts->asDictionary())
            return KeyedUnarchiver(*parts->asDictionary());
    } catch (const PropertyListError&) {
        // no archive at all
    }
    return std::nullopt;
}

/// An empty dictionary, which no getter takes for a value, where there is none.
const PropertyList& KeyedUnarchiver::part(std::string_view key) const noexcept {
    static const PropertyList nothing;
    const auto entry = m_parts.find(key);
    return entry == m_parts.end() ? nothing : entry->second;
}

std::int32_t KeyedUnarchiver::decodeInt32(std::string_view key) const noexcept {
    const auto value = part(key).asInteger();
    return value && std::in_range<std::int32_t>(*value) ? static_cast<std::int32_t>(*value) : 0;
}

double KeyedUnarchiver::decodeDouble(std::string_view key) const noexcept {
    return part(key).asReal().value_or(0);
}

std::optional<std::string> KeyedUnarchiver::decodeString(std::string_view key) const {
    if (const std::string* const text = part(key).asString()) return *text;
    if (const PropertyList::Data* const bytes = part(key).asData()) return textOf(*bytes);
    return std::nullopt;
}

std::optional<URL> KeyedUnarchiver::decodeURL(std::string_view key) const {
    const auto text = decodeString(key);
    if (!text) return std::nullopt;
    try {
        // Without a scheme it would be a path from whatever folder is the current one, which may be gone.
        if (URL url = URL::fromString(*text); url.string() == *text) return url;
    } catch (const std::filesystem::filesystem_error&) {
    }
    return std::nullopt;
}

}  // namespace platform
