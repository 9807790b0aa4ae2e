// SPDX-License-Identifier: MIT
#include <MarlCore/platform/UTF8.h>

namespace platform {

std::size_t utf8SequenceLength(std::string_view text) noexcept {
    if (text.empty()) return 0;
    const auto at = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const auto continues = [&](std::size_t i) { return (at(i) & 0xC0) == 0x80; };
    const unsigned first = at(0), second = at(1);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && second < 0xA0, surrogate = first == 0xED && second > 0x9F;
        return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && second < 0x90, beyond = first == 0xF4 && second > 0x8F;
        return continues(1) && continues(2) && continues(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

void appendUTF8(std::string& text, char32_t character) {
    const auto continuation = [character](int shift) {
        return static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += {static_cast<char>(0xC0 | character >> 6), continuation(0)};
    } else if (character < 0x10000) {
        text += {static_cast<char>(0xE0 | character >> 12), continuation(6), continuation(0)};
    } else {
        text +=
            {static_cast<char>(0xF0 | character >> 18), continuation(12), continuation(6), continuation(0)};
    }
}

}  // namespace platform
