// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/KeywordNames.h>

#include <gtest/gtest.h>

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

namespace marl {
namespace {

/// The name, or "-" for none.
std::string nameIn(const KeywordNames& names, std::string_view key) {
    const std::string* const name = names.find(SearchKey(key));
    return name ? *name : "-";
}

TEST(KeywordNames, AreThoseOfTheLanguage) {
    const support::EnvironmentVariable locale("LC_ALL", "de_CH.UTF-8");
    EXPECT_EQ(nameIn(KeywordNames(), "FLUTE"), "Fl\u00F6te");
    EXPECT_EQ(nameIn(KeywordNames(), "A user's own"), "-");
    for (const char* language : {"en", "fr", "../../etc/passwd", ""})
        EXPECT_EQ(nameIn(KeywordNames(language), "Flute"), "Flute") << language;
}

TEST(KeywordNames, DoWithoutTablesThatCannotBeRead) {
    const support::TemporaryFolder folder;
    const support::EnvironmentVariable resources("MARLCORE_RESOURCES", folder.path().c_str());
    const auto write = [&](const char* language, const std::string& contents) {
        folder.write(std::string("Keyword Names ") + language + ".plist", contents);
    };
    write("en",
          "<plist version=\"1.0\"><dict><key>Dub</key><string>Dub!</string>"
          "<key>Ska</key><integer>7</integer></dict></plist>");
    for (const char* contents : {"", "<plist", "<plist version=\"1.0\"><array/></plist>",
                                 "<plist version=\"1.0\"><dict/></plist>"}) {
        write("xx", contents);
        EXPECT_EQ(nameIn(KeywordNames("xx"), "Dub"), "Dub!") << contents;
        EXPECT_EQ(nameIn(KeywordNames("xx"), "Ska"), "-") << contents;
    }
    write("en", "");
    EXPECT_EQ(nameIn(KeywordNames("xx"), "Dub"), "-");
}

}  // namespace
}  // namespace marl
