// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/LocalizedKeyword.h>

#include <gtest/gtest.h>

using marl::LocalizedKeyword;

TEST(LocalizedKeyword, SortsWithoutRegardToCase) {
    // In order; texts of the same rank are the same to a user.
    const struct {
        const char* text;
        int rank;
    } rows[] = {{"", 0},        {"808 Kick", 1}, {"ACID BASS", 2}, {"acid bass", 2},    {"Acid Bass 2", 3},
                {"Bell", 4},    {"~", 5},        {"×", 6},         {"Überblendung", 7}, {"überBlendung", 7},
                {"\xFF\xC3", 8}};
    for (const auto& a : rows) {
        for (const auto& b : rows) {
            const int order =
                LocalizedKeyword(a.text, 1).caseInsensitiveCompare(LocalizedKeyword(b.text, -1));
            EXPECT_EQ(order < 0, a.rank < b.rank) << a.text << " | " << b.text;
            EXPECT_EQ(order > 0, a.rank > b.rank) << a.text << " | " << b.text;
        }
    }
}

TEST(LocalizedKeyword, DescribesItself) {
    EXPECT_EQ(LocalizedKeyword("Kick", 7).description(), "Kick [index = 7]");
    EXPECT_EQ(LocalizedKeyword("Kick", 0).description(), "Kick [index = 0]");
    EXPECT_EQ(LocalizedKeyword("", -2).description(), " [index = -2]");
    EXPECT_EQ(LocalizedKeyword("Any", LocalizedKeyword::kNoKeyword).description(), "<none>");
}
