// SPDX-License-Identifier: MIT
/// \file
/// Search keys: the words that loops are found by.
#pragma once

#include <MarlCore/platform/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace marl {

/// Compares two texts that end at their zero byte, without regard to the case of the letters A to Z: the
/// difference of the first two bytes that differ once in upper case, as signed characters, or 0. The order of
/// every key in memory and on disk; so it does not ask the locale of the process. [any thread]
MARLCORE_EXPORT int stricmp(const char* a, const char* b) noexcept;

/// A key: at most 29 bytes and zero bytes up to 30, in memory as in an index file. Keys that differ only in
/// the case of their letters are the same key.
class MARLCORE_EXPORT SearchKey {
public:
    static constexpr std::size_t kSize = 30;

    /// The empty key.
    constexpr SearchKey() noexcept = default;

    /// The first 29 bytes of `text`, up to a zero byte.
    explicit SearchKey(std::string_view text) noexcept;

    /// The key in 30 bytes of an index file. One without a zero byte loses its last character.
    static SearchKey fromBytes(const std::byte* bytes) noexcept;

    const char* getCharPtr() const noexcept { return m_text.data(); }
    std::string_view view() const noexcept { return m_text.data(); }
    const std::array<char, kSize>& bytes() const noexcept { return m_text; }

    /// Whether it can be looked for: its first byte, as a signed character, is greater than zero.
    /// Deliberately not so for keys that begin with a byte of 0x80 or above; index files hold none.
    bool isValid() const noexcept { return static_cast<signed char>(m_text[0]) > 0; }

    friend bool operator==(const SearchKey& a, const SearchKey& b) noexcept {
        return stricmp(a.getCharPtr(), b.getCharPtr()) == 0;
    }
    friend bool operator<(const SearchKey& a, const SearchKey& b) noexcept {
        return stricmp(a.getCharPtr(), b.getCharPtr()) < 0;
    }
    friend bool operator>(const SearchKey& a, const SearchKey& b) noexcept { return b < a; }

private:
    std::array<char, kSize> m_text{};
};

static_assert(sizeof(SearchKey) == SearchKey::kSize);

/// A key with what sort of key it is. Sets of it are ordered by the key alone, so they hold each key once,
/// whatever its category.
struct MARLCORE_EXPORT SearchKeyInfo {
    static constexpr std::int32_t kNoCategory = 0;
    static constexpr std::int32_t kInstrument = 1;
    static constexpr std::int32_t kInstrumentSubType = 2;
    static constexpr std::int32_t kGenre = 3;
    static constexpr std::int32_t kDescriptor = 4;

    SearchKeyInfo() = default;
    /// `parentInfo`, of a sub-type, is its instrument; its key is copied. May be null.
    SearchKeyInfo(std::string_view text, std::int32_t keyCategory, const SearchKeyInfo* parentInfo) noexcept
        : SearchKeyInfo(SearchKey(text), keyCategory, parentInfo ? parentInfo->key : SearchKey()) {}
    SearchKeyInfo(const SearchKey& searchKey, std::int32_t keyCategory, const SearchKey& parentKey) noexcept
        : key(searchKey), category(keyCategory), parent(parentKey) {}

    SearchKey key;
    std::int32_t category = kNoCategory;
    SearchKey parent;  ///< empty: none

    friend bool operator<(const SearchKeyInfo& a, const SearchKeyInfo& b) noexcept { return a.key < b.key; }
    friend bool operator!=(const SearchKeyInfo& a, const SearchKeyInfo& b) noexcept {
        return !(a.key == b.key);
    }
};

}  // namespace marl
