// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Locale.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>

#include "support/EnvironmentVariable.h"

namespace platform {
namespace {

TEST(Locale, TellsTheLanguageOfMessages) {
    const struct {
        const char *all, *messages, *lang, *language;
    } cases[] = {
        {nullptr, nullptr, nullptr, "en"},   {nullptr, nullptr, "de_AT.UTF-8", "de"},
        {nullptr, "fr_FR", "de_DE", "fr"},   {"sv", "fr_FR", "de_DE", "sv"},
        {"", "", "de@euro", "de"},           {"C", "de", "de", "en"},
        {"C.UTF-8", nullptr, "de", "en"},    {"POSIX", nullptr, nullptr, "en"},
        {"NDS-de", nullptr, nullptr, "nds"}, {"d", nullptr, nullptr, "en"},
        {"../de", nullptr, nullptr, "en"},   {"de/../de", nullptr, nullptr, "en"},
        {"_DE", nullptr, nullptr, "en"},     {"d\xC3\xA9", nullptr, nullptr, "en"},
    };
    for (const auto& [all, messages, lang, language] : cases) {
        const support::EnvironmentVariable variables[] = {
            {"LC_ALL", all}, {"LC_MESSAGES", messages}, {"LANG", lang}};
        EXPECT_EQ(preferredLanguage(), language) << (all ? all : "-");
    }
}

TEST(Locale, SortsAsADictionaryDoes) {
    const char* const inOrder[] = {"",        "808 Kick",      "Akkord",       "Au\u00DFenaufnahme",
                                   "Auto",    "Cajon",         "Caj\u00F3N 2", "F\u00C4LLE",
                                   "fallend", "\u00DCbergang", "Uhr",          "Zither",
                                   "\xC3",    "\u00D7",        "\xC4\x80"};
    for (std::size_t i = 1; i < std::size(inOrder); ++i)
        EXPECT_LT(dictionaryKey(inOrder[i - 1]), dictionaryKey(inOrder[i])) << inOrder[i];
    EXPECT_EQ(dictionaryKey("\u00DC\u00FC\u00DF\u00FF\u00F7\u00C0\u00DE"), "uussy\u00F7at");
}

}  // namespace
}  // namespace platform
