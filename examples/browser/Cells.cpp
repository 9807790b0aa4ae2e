// SPDX-License-Identifier: MIT
#include "Cells.h"

#include <MarlCore/foundation/CString.h>

#include <algorithm>

namespace browser {
namespace {

struct Range {
    char32_t first, last;
};

// Blocks rather than single characters, which is close enough for names: combining marks, and what Unicode's
// annex 11 (East Asian Width) calls wide or full-width.
constexpr Range kWithoutCell[] = {{0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x064B, 0x065F},
                                  {0x0900, 0x0902}, {0x0941, 0x0948}, {0x094D, 0x094D}, {0x0E31, 0x0E31},
                                  {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
                                  {0x200B, 0x200F}, {0x2060, 0x2064}, {0x20D0, 0x20FF}, {0x3099, 0x309A},
                                  {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}};
constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},   {0xAC00, 0xD7A3},
                           {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
                           {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

struct Character {
    std::string_view bytes;  // as they are to be shown
    std::size_t length;      // in bytes, of what it stands for
    std::size_t cells;
};

/// The length in bytes of the well-formed character at the start of `text`, or 0.
std::size_t characterLength(std::string_view text) {
    for (std::size_t length = 1; length <= std::min<std::size_t>(text.size(), 4); ++length)
        if (halyard::isValidUTF8(text.substr(0, length))) return length;
    return 0;
}

/// Of a well-formed character.
char32_t codePointOf(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes[0]);
    char32_t value = bytes.size() == 1 ? first : first & (0x7F >> bytes.size());
    for (const char byte : bytes.substr(1)) value = value << 6 | (static_cast<unsigned char>(byte) & 0x3F);
    return value;
}

std::size_t cellsOf(char32_t character) {
    const auto holds = [&](const Range& range) {
        return character >= range.first && character <= range.last;
    };
    return std::ranges::any_of(kWithoutCell, holds) ? 0 : std::ranges::any_of(kWide, holds) ? 2 : 1;
}

/// Those of terminals, and those that turn the order of all that follows in its line.
bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
           (character >= 0x2028 && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

Character firstCharacter(std::string_view text) {
    const std::size_t length = characterLength(text);
    const std::string_view bytes = text.substr(0, length);
    if (length == 0 || isControl(codePointOf(bytes))) return {"\uFFFD", std::max<std::size_t>(length, 1), 1};
    return {bytes, length, cellsOf(codePointOf(bytes))};
}

}  // namespace

std::string fitted(std::string_view text, std::size_t columns) {
    std::string result;
    std::size_t used = 0;
    std::string_view rest = text;
    std::size_t roomEnd = 0;   // bytes of the result that leave room for an ellipsis
    std::size_t roomUsed = 0;  // and the cells that they take
    while (!rest.empty()) {
        const Character character = firstCharacter(rest);
        if (used + character.cells > columns) {
            result.resize(roomEnd);
            used = roomUsed;
            if (columns > 0) result += "…", ++used;
            break;
        }
        result += character.bytes;
        used += character.cells;
        rest.remove_prefix(character.length);
        if (used + 1 <= columns) roomEnd = result.size(), roomUsed = used;
    }
    return result.append(columns - used, ' ');
}

std::string fittedEnd(std::string_view text, std::size_t columns) {
    std::size_t used = 0;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(firstCharacter(rest).length))
        used += firstCharacter(rest).cells;
    if (used <= columns) return fitted(text, columns);
    std::string_view end = text;
    for (; !end.empty() && used >= columns; end.remove_prefix(firstCharacter(end).length))
        used -= firstCharacter(end).cells;
    return fitted("…" + std::string(end), columns);
}

}  // namespace browser
