// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CString.h>

#include <MarlCore/platform/UTF8.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace halyard {
namespace {

/// What the bytes 0x80 to 0xFF stand for.
using UpperHalf = char16_t[129];

constexpr UpperHalf kMacRoman =
    u"\u00C4\u00C5\u00C7\u00C9\u00D1\u00D6\u00DC\u00E1\u00E0\u00E2\u00E4\u00E3\u00E5\u00E7\u00E9\u00E8"
    u"\u00EA\u00EB\u00ED\u00EC\u00EE\u00EF\u00F1\u00F3\u00F2\u00F4\u00F6\u00F5\u00FA\u00F9\u00FB\u00FC"
    u"\u2020\u00B0\u00A2\u00A3\u00A7\u2022\u00B6\u00DF\u00AE\u00A9\u2122\u00B4\u00A8\u2260\u00C6\u00D8"
    u"\u221E\u00B1\u2264\u2265\u00A5\u00B5\u2202\u2211\u220F\u03C0\u222B\u00AA\u00BA\u03A9\u00E6\u00F8"
    u"\u00BF\u00A1\u00AC\u221A\u0192\u2248\u2206\u00AB\u00BB\u2026\u00A0\u00C0\u00C3\u00D5\u0152\u0153"
    u"\u2013\u2014\u201C\u201D\u2018\u2019\u00F7\u25CA\u00FF\u0178\u2044\u20AC\u2039\u203A\uFB01\uFB02"
    u"\u2021\u00B7\u201A\u201E\u2030\u00C2\u00CA\u00C1\u00CB\u00C8\u00CD\u00CE\u00CF\u00CC\u00D3\u00D4"
    u"\uF8FF\u00D2\u00DA\u00DB\u00D9\u0131\u02C6\u02DC\u00AF\u02D8\u02D9\u02DA\u00B8\u02DD\u02DB\u02C7";

// Code page 1252; its five unassigned bytes become the replacement character.
constexpr UpperHalf kWindowsLatin1 =
    u"\u20AC\uFFFD\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\uFFFD\u017D\uFFFD"
    u"\uFFFD\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\uFFFD\u017E\u0178"
    u"\u00A0\u00A1\u00A2\u00A3\u00A4\u00A5\u00A6\u00A7\u00A8\u00A9\u00AA\u00AB\u00AC\u00AD\u00AE\u00AF"
    u"\u00B0\u00B1\u00B2\u00B3\u00B4\u00B5\u00B6\u00B7\u00B8\u00B9\u00BA\u00BB\u00BC\u00BD\u00BE\u00BF"
    u"\u00C0\u00C1\u00C2\u00C3\u00C4\u00C5\u00C6\u00C7\u00C8\u00C9\u00CA\u00CB\u00CC\u00CD\u00CE\u00CF"
    u"\u00D0\u00D1\u00D2\u00D3\u00D4\u00D5\u00D6\u00D7\u00D8\u00D9\u00DA\u00DB\u00DC\u00DD\u00DE\u00DF"
    u"\u00E0\u00E1\u00E2\u00E3\u00E4\u00E5\u00E6\u00E7\u00E8\u00E9\u00EA\u00EB\u00EC\u00ED\u00EE\u00EF"
    u"\u00F0\u00F1\u00F2\u00F3\u00F4\u00F5\u00F6\u00F7\u00F8\u00F9\u00FA\u00FB\u00FC\u00FD\u00FE\u00FF";

/// Appends one code point of the basic plane.
std::string decode(std::string_view bytes, const UpperHalf& upperHalf) {
    std::string text;
    for (char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        platform::appendUTF8(text, byte < 0x80 ? char32_t{byte} : upperHalf[byte - 0x80]);
    }
    return text;
}

std::string toUTF8(std::string_view bytes, TextEncoding encoding) {
    switch (encoding) {
        case TextEncoding::kMacRoman:
            return decode(bytes, kMacRoman);
        case TextEncoding::kWindowsLatin1:
            return decode(bytes, kWindowsLatin1);
        case TextEncoding::kUTF8:
            break;
    }
    return std::string(bytes);
}

std::string_view firstBytes(const CBufferRef& buffer, int length) {
    if (!buffer || length <= 0) return {};
    return {buffer->getCharPtr(), std::min(static_cast<std::size_t>(length), buffer->getSize())};
}

unsigned char folded(char c, bool ignoreCase) noexcept {
    return static_cast<unsigned char>(ignoreCase && c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

}  // namespace

CDataValue::~CDataValue() = default;

CString::CString(const char* text, TextEncoding encoding) : m_text(toUTF8(text ? text : "", encoding)) {}

CString::CString(const CBufferRef& bytes, int length, TextEncoding encoding)
    : m_text(toUTF8(firstBytes(bytes, length), encoding)) {}

CString::CString(std::string utf8) : m_text(std::move(utf8)) {}

int CString::compare(const CString& other, bool ignoreCase) const noexcept {
    const std::size_t common = std::min(m_text.size(), other.m_text.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference = folded(m_text[i], ignoreCase) - folded(other.m_text[i], ignoreCase);
        if (difference != 0) return difference;
    }
    return (m_text.size() > common) - (other.m_text.size() > common);
}

bool CString::find(const CString& other, int start, int* foundAt, bool ignoreCase) const noexcept {
    const auto from = static_cast<std::size_t>(std::max(start, 0));
    if (from > m_text.size()) return false;
    const auto match = std::search(m_text.begin() + static_cast<std::ptrdiff_t>(from), m_text.end(),
                                   other.m_text.begin(), other.m_text.end(), [ignoreCase](char a, char b) {
                                       return folded(a, ignoreCase) == folded(b, ignoreCase);
                                   });
    if (match == m_text.end() && !other.m_text.empty()) return false;
    if (foundAt) *foundAt = static_cast<int>(match - m_text.begin());
    return true;
}

CStringRef CSTR(const char* text) {
    return CStringRef(new CString(text));
}

CStringRef CSTR(const std::string& text) {
    return CStringRef(new CString(text));
}

CStringRef asString(const CDataValueRef& value) {
    return value ? CStringRef(value.dynamicCast<CString>()) : CStringRef();
}

bool isValidUTF8(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t length = platform::utf8SequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace halyard
