// SPDX-License-Identifier: MIT
#include <tools/marl/Index.h>
#include <tools/marl/Keywords.h>
#include <tools/marl/Output.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "SearchEngine/SearchLibrary.h"
#include "support/EnvironmentVariable.h"

namespace marl::tool {
namespace {

class Keywords : public testing::Test {
protected:
    void add(const std::string& name, const support::Categories& categories) const {
        support::AIFFContents contents;
        contents.categories = categories;
        contents.samples = support::Bytes().zeros(4000);
        m_loops.write(name, support::aiffFile(contents));
    }

    void index() const {
        std::ostringstream out, err;
        ASSERT_EQ(runIndex({.indexDirectory = m_indexes.path(), .folders = {m_loops.path()}}, out, err),
                  kDone);
    }

    std::string keywords(bool isJSON, int expectedStatus = kDone) const {
        std::ostringstream out, err;
        EXPECT_EQ(runKeywords({m_indexes.path(), isJSON}, out, err), expectedStatus);
        return out.str() + err.str();
    }

    support::TemporaryFolder m_loops, m_indexes;
    const support::EnvironmentVariable m_locale{"LC_ALL", "C"};
};

TEST_F(Keywords, AreListedByCategory) {
    add("a.aif", {.instrument = "Xbass", .instrumentSubType = "Xsub", .genre = "Xg", .descriptors = {"Xd"}});
    add("b.aif", {.instrument = "XBASS", .instrumentSubType = "Xother", .descriptors = {"Xd", "X\x1B[31m"}});
    add("c.aif", {.instrument = "Xkeys", .genre = "Xg"});
    index();
    EXPECT_EQ(keywords(false),
              "instruments\n       2  Xbass\n       1    Xother\n       1    Xsub\n       1  Xkeys\n"
              "genres\n       2  Xg\n"
              "descriptors\n       1  X\\x1B[31m\n       2  Xd\n");
    const json expected = {{"instrument",
                            {{{"key", "Xbass"}, {"name", "Xbass"}, {"count", 2}},
                             {{"key", "Xkeys"}, {"name", "Xkeys"}, {"count", 1}}}},
                           {"instrumentSubType",
                            {{{"key", "Xother"}, {"name", "Xother"}, {"count", 1}, {"instrument", "XBASS"}},
                             {{"key", "Xsub"}, {"name", "Xsub"}, {"count", 1}, {"instrument", "Xbass"}}}},
                           {"genre", json::array({{{"key", "Xg"}, {"name", "Xg"}, {"count", 2}}})},
                           {"descriptor",
                            {{{"key", "X\x1B[31m"}, {"name", "X\x1B[31m"}, {"count", 1}},
                             {{"key", "Xd"}, {"name", "Xd"}, {"count", 2}}}}};
    EXPECT_EQ(json::parse(keywords(true)).dump(1), expected.dump(1));
}

TEST_F(Keywords, HaveTheirNamesInTheLanguageOfTheUser) {
    add("a.aif", {.instrument = "Woodwind", .instrumentSubType = "Flute", .genre = "House"});
    add("b.aif",
        {.instrument = "Bass Guitar", .instrumentSubType = "Xsub", .descriptors = {"Wet", "Bright"}});
    add("c.aif", {.instrument = "Effect", .instrumentSubType = "Transition"});
    add("d.aif", {.instrument = "Effect", .instrumentSubType = "Whoosh"});
    index();
    const support::EnvironmentVariable german("LC_ALL", "de_AT.UTF-8");
    EXPECT_EQ(
        keywords(false),
        "instruments\n       1  E-Bass  (Bass Guitar)\n       1    Xsub\n       2  Effekt  (Effect)\n"
        "       1    \u00DCbergang  (Transition)\n       1    Whoosh\n       1  Holzbl\u00E4ser  (Woodwind)\n"
        "       1    Fl\u00F6te  (Flute)\ngenres\n       1  House\n"
        "descriptors\n       1  Hell  (Bright)\n       1  Mit Hall  (Wet)\n");
    EXPECT_EQ(json::parse(keywords(true))["instrument"][0]["name"], "E-Bass");
}

TEST_F(Keywords, AreThoseOfFilesThatAreThere) {
    add("a.aif", {.genre = "Xhere"});
    add("b.aif", {.genre = "Xgone"});
    index();
    std::filesystem::remove(m_loops.path("b.aif"));
    index();
    EXPECT_EQ(keywords(false), "instruments\ngenres\n       1  Xhere\ndescriptors\n");
}

TEST_F(Keywords, NeedAnIndex) {
    EXPECT_NE(keywords(true, kFailed).find("no index yet"), std::string::npos);
}

}  // namespace
}  // namespace marl::tool
