// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Locale.h>

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace platform
