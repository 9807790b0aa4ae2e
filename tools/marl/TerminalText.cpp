// SPDX-License-Identifier: MIT
#include "TerminalText.h"

#include <MarlCore/foundation/CString.h>

#include <algorithm>
#include <cstddef>

namespace marl::tool {
namespace {

/// The length in bytes of the well-formed character at the start of `text`, or 0.
std::size_t characterLength(std::string_view text) {
    for (std::size_t length = 1; length <= std::min<std::size_t>(text.size(), 4); ++length)
        if (halyard::isValidUTF8(text.substr(0, length))) return length;
    return 0;
}

bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) return first < 0x20 || first == 0x7F;
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

void appendEscaped(std::string& text, char byte) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    text += {'\\', 'x', kDigits[value >> 4], kDigits[value & 15]};
}

}  // namespace

std::string terminalText(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
        text.remove_prefix(character.size());
        if (length == 0 || isControl(character))
            for (char byte : character) appendEscaped(result, byte);
        else if (character == "\\")
            result += "\\\\";
        else
            result += character;
    }
    return result;
}

}  // namespace marl::tool
