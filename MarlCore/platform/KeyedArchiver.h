// SPDX-License-Identifier: MIT
/// \file
/// Objects as bytes that can be stored, and back.
#pragma once

#include <MarlCore/platform/PropertyList.h>
#include <MarlCore/platform/URL.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace platform {

/// Takes the parts of one object, each under a key of its own, and makes a property list of them.
///
/// A class that can be archived names itself with a constant `kArchiveName`, hands its parts over in
/// `encodeWithCoder(KeyedArchiver&) const`, and takes them back in a constructor from a
/// `const KeyedUnarchiver&`. [one thread at a time]
class MARLCORE_EXPORT KeyedArchiver {
public:
    /// The archive of `object`, from which `KeyedUnarchiver` makes an equal one.
    template <typename Object>
    static PropertyList::Data archivedDataWithRootObject(const Object& object) {
        KeyedArchiver coder;
        object.encodeWithCoder(coder);
        return coder.archived(Object::kArchiveName);
    }

    // A key that is used again has the last value. Keys are text that XML can hold.

    void encodeInt32(std::int32_t value, std::string_view key);
    void encodeDouble(double value, std::string_view key);
    /// Any bytes; nothing is nil.
    void encodeObject(const std::optional<std::string>& text, std::string_view key);
    void encodeObject(const std::optional<URL>& url, std::string_view key);

private:
    KeyedArchiver() = default;
    PropertyList::Data archived(std::string_view className) const;

    PropertyList::Dictionary m_parts;
};

/// Hands the parts of an archived object out again. What is not there, or is of another type or too large for
/// it, is 0 or nil: archives of other versions can be read. [any thread]
class MARLCORE_EXPORT KeyedUnarchiver {
public:
    /// The object, or nothing when `data` is no archive of an `Object`.
    template <typename Object>
    static std::optional<Object> unarchiveObjectWithData(std::span<const std::byte> data) {
        const auto coder = forArchive(data, Object::kArchiveName);
        return coder ? std::optional<Object>(std::in_place, *coder) : std::nullopt;
    }

    std::int32_t decodeInt32(std::string_view key) const noexcept;
    double decodeDouble(std::string_view key) const noexcept;
    std::optional<std::string> decodeString(std::string_view key) const;
    std::optional<URL> decodeURL(std::string_view key) const;

private:
    explicit KeyedUnarchiver(const PropertyList::Dictionary& parts) : m_parts(parts) {}
    static std::optional<KeyedUnarchiver> forArchive(std::span<const std::byte> data,
                                                     std::string_view className);

    const PropertyList& part(std::string_view key) const noexcept;

    PropertyList::Dictionary m_parts;
};

}  // namespace platform
