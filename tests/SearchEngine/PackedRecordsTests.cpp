// SPDX-License-Identifier: MIT
#include "IndexedLoops.h"

#include <MarlCore/SearchEngine/PackedRecordsImpl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace marl {
namespace {

using support::bytesOf;
using support::IndexedLoop;

CFileIndexInfo numbered(const IndexedLoop& loop, std::int32_t fileID) {
    CFileIndexInfo record = support::recordOf(loop).first;
    record.setFileID(fileID);
    return record;
}

/// What comes out for the file; nothing when it is not held.
std::string heldBytes(const PackedRecords& records, std::int32_t fileID) {
    if (!records.holds(fileID)) return {};
    CFileIndexInfo record;
    records.copyTo(record, fileID);
    return bytesOf(record);
}

TEST(PackedRecords, GiveBackRecordsByteForByte) {
    const std::vector<std::string> ten = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"};
    const IndexedLoop loops[] = {
        {},
        {.path = "/Loops/A.aif", .instrument = "Bass", .subType = "Synthetic Bass", .genre = "Jazz"},
        {.path = "no folder", .genre = std::string(40, 'g'), .descriptors = {"Dry", "dry", "\xC3\x89"}},
        {.path = "/", .descriptors = ten, .timeSignature = {-1, 0}, .keyType = -5, .contentFileType = 77},
        {.path = std::string(1024, '/'), .rootNote = -1},
        {.path = "/" + std::string(1023, 'n'), .descriptors = ten, .rootNote = 60},
    };
    PackedRecords records;
    std::int32_t fileID = 0;
    for (const IndexedLoop& loop : loops) {
        CFileIndexInfo record = numbered(loop, ++fileID);
        record.setAdditionalInfo({-1.0f, loop.rootNote, 16, true, false, true});
        records.keep(fileID, record);
        EXPECT_EQ(heldBytes(records, fileID), bytesOf(record)) << fileID;
    }
    for (const std::int32_t unknown : {-1, 0, fileID + 1}) EXPECT_FALSE(records.holds(unknown)) << unknown;
    records.clear();
    EXPECT_FALSE(records.holds(1));
}

// Any byte may be anything in a file that somebody else has written.
TEST(PackedRecords, HoldNothingThatTheyWouldChange) {
    std::string ordinary =
        bytesOf(numbered({.path = "/Loops/A.aif", .genre = "Jazz", .descriptors = {"Dry"}}, 7));
    for (std::size_t i = 0; i < ordinary.size(); ++i) {
        for (const char value : {'\0', 'x', '\xFF'}) {
            std::string bytes = ordinary;
            bytes[i] = value;
            const CFileIndexInfo record = support::recordFromBytes(bytes);
            PackedRecords records;
            records.keep(7, record);
            const std::string held = heldBytes(records, 7);
            ASSERT_TRUE(held.empty() || held == bytesOf(record)) << "byte " << i;
        }
    }
    PackedRecords records;
    const IndexedLoop eleven = {.descriptors = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11"}};
    records.keep(1, numbered(eleven, 1));
    records.keep(2, numbered({}, -2));
    EXPECT_FALSE(records.holds(1)) << "its eleventh descriptor stands over its name";
    EXPECT_FALSE(records.holds(2)) << "the file has gone";
}

TEST(PackedRecords, KnowKeysInAnySpelling) {
    PackedRecords records;
    records.keep(1, numbered({.instrument = "Bass", .descriptors = {"Dry"}}, 1));
    records.keep(2, numbered({.genre = "DRY", .descriptors = {"bass"}}, 2));
    records.keep(3, numbered({.genre = "Dry Bass"}, 3));
    for (const char* const spelling : {"dry", "Dry", "bAsS"}) {
        const auto key = records.numberOf(SearchKey(spelling));
        ASSERT_TRUE(key) << spelling;
        EXPECT_TRUE(records.carries(1, *key)) << spelling;
        EXPECT_TRUE(records.carries(2, *key)) << spelling;
        EXPECT_FALSE(records.carries(3, *key)) << spelling;
    }
    EXPECT_FALSE(records.numberOf(SearchKey("Dr")));
}

TEST(PackedRecords, TakeNoMoreTextsThanTheyHaveNumbersFor) {
    const auto numberOfTexts = [](auto loopOf) {
        constexpr std::int32_t kTried = 300000;
        PackedRecords records;
        for (std::int32_t fileID = 1; fileID <= kTried; ++fileID)
            records.keep(fileID, numbered(loopOf(std::to_string(fileID)), fileID));
        std::int32_t held = 0;
        while (records.holds(held + 1)) ++held;
        EXPECT_EQ(heldBytes(records, held), bytesOf(numbered(loopOf(std::to_string(held)), held)));
        EXPECT_FALSE(records.holds(kTried));
        return held;
    };
    EXPECT_EQ(numberOfTexts([](std::string text) { return IndexedLoop{.genre = text}; }), 65535)
        << "and the empty key";
    EXPECT_EQ(numberOfTexts([](std::string text) { return IndexedLoop{.path = text + "/A.aif"}; }), 262144);
}

// Records of all lengths take each other's place, over several blocks of memory.
TEST(PackedRecords, AgreeWithAMapAfterManyChanges) {
    constexpr unsigned kSeed = 5;
    std::mt19937 random(kSeed);
    PackedRecords records;
    std::map<std::int32_t, std::string> expected;
    const auto word = [&](std::size_t most) { return std::to_string(random()).substr(0, random() % most); };
    for (int i = 0; i < 20000; ++i) {
        const auto fileID = static_cast<std::int32_t>(1 + random() % 3000);
        IndexedLoop loop{.path = "/" + word(3) + "/" + std::string(random() % 100, 'n'), .genre = word(4)};
        for (std::size_t n = random() % 11; n > 0; --n) loop.descriptors.push_back(word(5));
        const bool isThere = random() % 8 != 0;
        const CFileIndexInfo record = numbered(loop, isThere ? fileID : -fileID);
        records.keep(fileID, record);
        expected[fileID] = isThere ? bytesOf(record) : std::string();
    }
    for (const auto& [fileID, bytes] : expected)
        ASSERT_EQ(heldBytes(records, fileID), bytes) << "file " << fileID << ", seed " << kSeed;
}

}  // namespace
}  // namespace marl
