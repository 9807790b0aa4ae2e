// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/SearchKey.h>

#include <algorithm>
#include <cstring>

namespace marl {

namespace {

/// 'A' to 'Z' for 'a' to 'z'; bytes from 0x80 on are negative, and stay.
int upperCase(char character) noexcept {
    const auto value = static_cast<signed char>(character);
    return value >= 'a' && value <= 'z' ? value - 'a' + 'A' : value;
}

}  // namespace

int stricmp(const char* a, const char* b) noexcept {
    for (;; ++a, ++b) {
        const int difference = upperCase(*a) - upperCase(*b);
        if (difference != 0 || *a == 0) return difference;
    }
}

SearchKey::SearchKey(std::string_view text) noexcept {
    text = text.substr(0, std::min(text.find('\0'), kSize - 1));
    std::ranges::copy(text, m_text.begin());
}

SearchKey SearchKey::fromBytes(const std::byte* bytes) noexcept {
    SearchKey key;
    std::memcpy(key.m_text.data(), bytes, kSize - 1);
    return key;
}

}  // namespace marl
