// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Locale.h>

#include <cstdlib>
#include <string_view>

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

}  // namespace platform
