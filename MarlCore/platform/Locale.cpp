// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Locale.h>

#include <cstddef>
#include <cstdlib>

namespace platform {
namespace {

/// The locale for messages, "" where none is set.
std::string_view localeOfMessages() noexcept {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* const value = std::getenv(name); value && *value != '\0') return value;
    return {};
}

/// Does not ask the locale of the process, as that may be the one that is looked for.
char lowerCase(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// What U+00C0 to U+00FF sort as, a blank for what is no letter.
constexpr std::string_view kBaseLetters =
    "aaaaaaaceeeeiiiidnooooo ouuuuyts"
    "aaaaaaaceeeeiiiidnooooo ouuuuyty";
constexpr char kLead = '\xC3', kSharpS = '\x9F';  // in UTF-8

/// The base letter of the character at `i`, a blank for one without.
char baseLetterAt(std::string_view text, std::size_t i) noexcept {
    if (text[i] != kLead || i + 1 == text.size()) return ' ';
    const auto second = static_cast<unsigned char>(text[i + 1]);
    return second >= 0x80 && second < 0xC0 ? kBaseLetters[second - 0x80U] : ' ';
}

}  // namespace

std::string preferredLanguage() {
    std::string language;
    const std::string_view locale = localeOfMessages();
    for (const char c : locale.substr(0, locale.find_first_of("_-.@"))) {
        const char letter = lowerCase(c);
        if (letter < 'a' || letter > 'z' || language.size() == 3) return "en";
        language += letter;
    }
    return language.size() >= 2 ? language : "en";
}

std::string dictionaryKey(std::string_view text) {
    std::string key;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char base = baseLetterAt(text, i);
        if (base == ' ') {
            key += lowerCase(text[i]);
            continue;
        }
        key += base;
        if (text[++i] == kSharpS) key += 's';
    }
    return key;
}

}  // namespace platform
