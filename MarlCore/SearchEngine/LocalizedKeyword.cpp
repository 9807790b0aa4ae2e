// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/LocalizedKeyword.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace marl {

namespace {

/// The byte at `i` of a UTF-8 text, in lower case.
int foldedByte(const std::string& text, std::size_t i) noexcept {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 'A' && byte <= 'Z') return byte + 0x20;
    // À to Þ are C3 80 to C3 9E, and their small letters lie 0x20 further on; × among them has none.
    const bool isLatin1 = i > 0 && static_cast<unsigned char>(text[i - 1]) == 0xC3;
    return isLatin1 && byte >= 0x80 && byte <= 0x9E && byte != 0x97 ? byte + 0x20 : byte;
}

}  // namespace

LocalizedKeyword::LocalizedKeyword(std::string localizedKeyword, std::int32_t searchKeyIndexNumber)
    : m_localizedKeyword(std::move(localizedKeyword)), m_searchKeyIndexNumber(searchKeyIndexNumber) {}

int LocalizedKeyword::caseInsensitiveCompare(const LocalizedKeyword& other) const noexcept {
    const std::string& a = m_localizedKeyword;
    const std::string& b = other.m_localizedKeyword;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        if (const int difference = foldedByte(a, i) - foldedByte(b, i); difference != 0) return difference;
    return a.size() < b.size() ? -1 : a.size() > b.size();
}

std::string LocalizedKeyword::description() const {
    if (m_searchKeyIndexNumber == kNoKeyword) return "<none>";
    return m_localizedKeyword + " [index = " + std::to_string(m_searchKeyIndexNumber) + "]";
}

}  // namespace marl
