// SPDX-License-Identifier: MIT
#include <tools/marl/Index.h>
#include <tools/marl/Keywords.h>
#include <tools/marl/Output.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "SearchEngine/SearchLibrary.h"

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
    const json expected = {
        {"instrument", {{{"key", "Xbass"}, {"count", 2}}, {{"key", "Xkeys"}, {"count", 1}}}},
        {"instrumentSubType",
         {{{"key", "Xother"}, {"count", 1}, {"instrument", "XBASS"}},
          {{"key", "Xsub"}, {"count", 1}, {"instrument", "Xbass"}}}},
        {"genre", json::array({{{"key", "Xg"}, {"count", 2}}})},
        {"descriptor", {{{"key", "X\x1B[31m"}, {"count", 1}}, {{"key", "Xd"}, {"count", 2}}}}};
    EXPECT_EQ(json::parse(keywords(true)).dump(1), expected.dump(1));
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
