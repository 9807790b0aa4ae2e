// SPDX-License-Identifier: MIT
#include "Keys.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace browser {
namespace {

using Code = Key::Code;

constexpr char kEscapeByte = '\x1b';
constexpr std::size_t kLongestSequence = 32;         // bytes; what is longer is none
constexpr std::string_view kFunctionKey = "\x1b[[";  // of the Linux console; a letter follows

struct Sequence {
    std::string_view bytes;  // behind the escape
    Code code;
};

// As xterm, the Linux console, rxvt and their relatives send them.
constexpr Sequence kSequences[] = {
    {"[A", Code::kUp},      {"OA", Code::kUp},        {"[B", Code::kDown},        {"OB", Code::kDown},
    {"[5~", Code::kPageUp}, {"[6~", Code::kPageDown}, {"[H", Code::kHome},        {"OH", Code::kHome},
    {"[1~", Code::kHome},   {"[7~", Code::kHome},     {"[F", Code::kEnd},         {"OF", Code::kEnd},
    {"[4~", Code::kEnd},    {"[8~", Code::kEnd},      {"\x7f", Code::kEraseWord}, {"\b", Code::kEraseWord},
};

struct Control {
    char byte;
    Code code;
};

constexpr Control kControls[] = {
    {'\r', Code::kEnter},     {'\n', Code::kEnter},       {'\x7f', Code::kBackspace},
    {'\b', Code::kBackspace}, {'\x17', Code::kEraseWord}, {'\x15', Code::kClear},
    {'\x03', Code::kQuit},    {'\x04', Code::kQuit},      {'\x1a', Code::kSuspend},
    {'\x0c', Code::kRedraw},  {'\x10', Code::kUp},        {'\x0e', Code::kDown},  // Ctrl-P, Ctrl-N
};

bool isFinal(char c) {
    return c >= '@' && c <= '~';
}

/// The length in bytes that the first byte of a character states; 0 where it begins none.
std::size_t characterLength(char first) {
    const auto byte = static_cast<unsigned char>(first);
    if (byte < 0x80) return 1;
    if (byte < 0xC2 || byte > 0xF4) return 0;
    return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// The length in bytes of the sequence at the start of `bytes`, which is an escape; 0: it is not complete.
/// What comes right behind an escape, other than a second one, was pressed together with Alt.
std::size_t sequenceLength(std::string_view bytes) {
    if (bytes.size() < 2) return 0;
    if (bytes[1] == kEscapeByte) return 1;
    if (bytes[1] != '[' && bytes[1] != 'O') {
        const std::size_t length = 1 + std::max<std::size_t>(characterLength(bytes[1]), 1);
        return length <= bytes.size() ? length : 0;
    }
    const std::string_view sequence = bytes.substr(0, kLongestSequence);
    const std::size_t start = sequence.starts_with(kFunctionKey) ? kFunctionKey.size() : 2;
    const auto end =
        std::find_if(sequence.begin() + static_cast<std::ptrdiff_t>(start), sequence.end(), isFinal);
    if (end != sequence.end()) return static_cast<std::size_t>(end - sequence.begin()) + 1;
    return sequence.size() < kLongestSequence ? 0 : kLongestSequence;
}

std::optional<Key> sequenceKey(std::string_view sequence) {
    if (sequence.size() == 1) return Key{Code::kEscape};
    const auto* const found = std::ranges::find(kSequences, sequence.substr(1), &Sequence::bytes);
    return found == std::end(kSequences) ? std::nullopt : std::optional(Key{found->code});
}

std::optional<Key> characterKey(std::string_view character) {
    const auto* const control = std::ranges::find(kControls, character[0], &Control::byte);
    if (control != std::end(kControls)) return Key{control->code};
    const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    if (static_cast<unsigned char>(character[0]) < 0x20 ||
        !std::all_of(character.begin() + 1, character.end(), isContinuation))
        return std::nullopt;
    return Key{Code::kText, std::string(character)};
}

}  // namespace

std::vector<Key> KeyDecoder::feed(std::string_view bytes) {
    m_rest += bytes;
    std::vector<Key> keys;
    std::string_view rest = m_rest;
    while (!rest.empty()) {
        const bool isSequence = rest[0] == kEscapeByte;
        const std::size_t length = isSequence ? sequenceLength(rest) : characterLength(rest[0]);
        if ((isSequence && length == 0) || length > rest.size()) break;  // the rest is still to come
        const std::string_view piece = rest.substr(0, std::max<std::size_t>(length, 1));
        rest.remove_prefix(piece.size());
        if (const auto key = isSequence    ? sequenceKey(piece)
                             : length == 0 ? std::nullopt
                                           : characterKey(piece))
            keys.push_back(*key);
    }
    m_rest = std::string(rest);
    return keys;
}

std::vector<Key> KeyDecoder::finish() {
    const bool isEscape = m_rest.starts_with(kEscapeByte);
    m_rest.clear();
    return isEscape ? std::vector{Key{Code::kEscape}} : std::vector<Key>();
}

}  // namespace browser
