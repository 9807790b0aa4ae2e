// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/PathNames.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "support/TemporaryFolder.h"

namespace marl {
namespace {

TEST(PathNames, TakesAPathApart) {
    const struct {
        const char* path;
        const char* lastComponent;
        const char* extension;
    } kRows[] = {{"/Loops/Kick 01.aif", "Kick 01.aif", "aif"},
                 {"Kick.aif", "Kick.aif", "aif"},
                 {"/Loops.old/", "Loops.old", "old"},
                 {"/Loops.old//Kick", "Kick", ""},
                 {"/", "/", ""},
                 {"///", "/", ""},
                 {"", "", ""},
                 {".", ".", ""},
                 {"..", "..", ""},
                 {"/a/.hidden", ".hidden", ""},
                 {"/a/.hidden.wav", ".hidden.wav", "wav"},
                 {"a..b", "a..b", "b"}};
    for (const auto& row : kRows) {
        EXPECT_EQ(lastPathComponent(row.path), row.lastComponent) << row.path;
        EXPECT_EQ(pathExtension(row.path), row.extension) << row.path;
    }
}

TEST(PathNames, StandardizesWithoutChangingWhereThePathLeads) {
    const struct {
        const char* path;
        const char* standardized;
    } kRows[] = {{"/", "/"},
                 {"//", "/"},
                 {"", ""},
                 {".", "."},
                 {"./", "."},
                 {"//a///b//", "/a/b"},
                 {"/./a/./b/.", "/a/b"},
                 {"./a", "a"},
                 {"/a/../b", "/b"},
                 {"/..", "/"},
                 {"/a/b/../..", "/"},
                 {"../a", "../a"},
                 {"a/../b", "a/../b"},
                 {"/...", "/..."}};
    for (const auto& row : kRows) EXPECT_EQ(standardizedPath(row.path), row.standardized) << row.path;
}

TEST(PathNames, TakesTheParentOfWhatALinkLeadsTo) {
    const support::TemporaryFolder folder;
    const std::string root = *pathWithoutAliases(folder.path());
    std::filesystem::create_directories(root + "/far/away");
    std::filesystem::create_symlink("far/away", root + "/link");
    std::filesystem::create_symlink("nowhere", root + "/dead");
    EXPECT_EQ(standardizedPath(root + "/link/../x"), root + "/far/x");
    EXPECT_EQ(standardizedPath(root + "/dead/../../x"), root + "/dead/../../x");
}

TEST(PathNames, OrdersByBytesWithLettersFolded) {
    const struct {
        const char* before;
        const char* behind;
    } kRows[] = {{"", "a"},         {"a", "B"}, {"A", "b"}, {"Kick", "kick 2"}, {"Kick 10", "kick 2"},
                 {"z", "\xC3\xA9"}, {"_", "a"}, {"_", "A"}, {"@", "a"},         {"z", "{"}};
    for (const auto& row : kRows) {
        EXPECT_LT(compareIgnoringCase(row.before, row.behind), 0) << row.before << ' ' << row.behind;
        EXPECT_GT(compareIgnoringCase(row.behind, row.before), 0) << row.before << ' ' << row.behind;
    }
    EXPECT_EQ(compareIgnoringCase("AZaz09", "azAZ09"), 0);
}

}  // namespace
}  // namespace marl
