// SPDX-License-Identifier: MIT
#include "IndexedLoops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <random>

namespace marl {
namespace {

using support::recordOf;
using Paths = std::vector<std::string>;

Paths pathsOf(std::span<const CFileIndexInfo* const> records) {
    Paths paths;
    for (const CFileIndexInfo* const record : records) paths.emplace_back(record->getFileName());
    return paths;
}

Paths pathsUnder(const OrganizedSearchResults& results, const char* key) {
    return pathsOf(results.find(SearchKey(key)));
}

void add(OrganizedSearchResults& results, const char* path, bool organize) {
    results.addFileToOrganizedResults(recordOf({.path = path, .genre = "Funk"}).first, organize);
}

TEST(OrganizedSearchResults, ListsAFileUnderEachOfItsValidKeysOnce) {
    OrganizedSearchResults results;
    const CFileIndexInfo record = recordOf({.path = "/A",
                                            .instrument = "Bass",
                                            .subType = "Synthetic",
                                            .genre = "\xC3\xA9",
                                            .descriptors = {"Dry", "\xC3\xA8"}})
                                      .first;
    for (int round = 0; round < 2; ++round) {  // reached through two keys
        results.addFileToOrganizedResults(record, true);
        Paths keys;
        for (const auto& [key, records] : results.recordsByKey()) {
            keys.emplace_back(key.view());
            EXPECT_EQ(pathsOf(records), Paths{"/A"});
        }
        EXPECT_EQ(keys, (Paths{"Bass", "Dry", "Synthetic"}));
        EXPECT_EQ(pathsUnder(results, "bASS"), Paths{"/A"});
        EXPECT_TRUE(results.find(SearchKey("\xC3\xA9")).empty());
    }
    results.addFileToOrganizedResults(recordOf({.path = "/No key"}).first, true);
    EXPECT_EQ(pathsOf(results.files()), (Paths{"/A", "/No key"}));
    EXPECT_EQ(results.recordsByKey().size(), 3u);
}

TEST(OrganizedSearchResults, KeepsACopyOfWhatCameFirst) {
    OrganizedSearchResults results;
    CFileIndexInfo record = recordOf({.path = "/A", .genre = "Funk"}).first;
    for (const std::int16_t keyType : {std::int16_t{1}, std::int16_t{2}}) {
        record.setKeyType(keyType);
        results.addFileToOrganizedResults(record, true);
        ASSERT_EQ(results.find(SearchKey("Funk")).size(), 1u);
        EXPECT_EQ(results.find(SearchKey("Funk"))[0]->getKeyType(), 1);
    }
    EXPECT_FALSE(results.addFilled([](CFileIndexInfo&) { return false; }, true));
    EXPECT_EQ(results.files().size(), 1u);
}

TEST(OrganizedSearchResults, OrdersByBytesOrAsTheyCame) {
    // Paths that share eight bytes and more, and bytes from 0x80 on.
    const std::vector<const char*> came{"/Loops/b", "/Loops/\xC3\xA9",   "/Loops/B", "/Loops/b/long one",
                                        "/Loops/b", "/Loops/b/long One", "/Loop",    "/Loops/a"};
    OrganizedSearchResults organized, plain, mixed;
    for (const char* const path : came) {
        add(organized, path, true);
        add(plain, path, false);
    }
    const Paths inOrder{"/Loop",          "/Loops/B",          "/Loops/a",
                        "/Loops/b",       "/Loops/b/long One", "/Loops/b/long one",
                        "/Loops/\xC3\xA9"};
    EXPECT_EQ(pathsUnder(organized, "Funk"), inOrder);
    EXPECT_EQ(pathsUnder(plain, "Funk"), Paths(came.begin(), came.end()));
    EXPECT_EQ(pathsOf(plain.files()), inOrder);

    for (const char* const path : came) add(mixed, path, false);
    add(mixed, "/Loops/aa", true);
    Paths withOne = inOrder;
    withOne.insert(withOne.begin() + 3, "/Loops/aa");
    EXPECT_EQ(pathsUnder(mixed, "Funk"), withOne) << "once order is asked for, all of it is in order";
    add(mixed, "/Loops/a", false);
    withOne.push_back("/Loops/a");
    EXPECT_EQ(pathsUnder(mixed, "Funk"), withOne);
}

TEST(OrganizedSearchResults, ListsARecordThatRepeatsAKeyOnceInOrder) {
    std::string bytes = support::bytesOf(recordOf({.path = "/A", .genre = "Funk"}).first);
    bytes.replace(40, 4, "FUNK");
    OrganizedSearchResults organized, plain;
    organized.addFileToOrganizedResults(support::recordFromBytes(bytes), true);
    plain.addFileToOrganizedResults(support::recordFromBytes(bytes), false);
    EXPECT_EQ(pathsUnder(organized, "funk"), Paths{"/A"});
    EXPECT_EQ(pathsUnder(plain, "funk"), (Paths{"/A", "/A"}));
}

TEST(OrganizedSearchResults, OrdersAHundredThousandFiles) {
    constexpr int kFiles = 100'000;
    std::vector<int> numbers(kFiles);
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(11));
    numbers.insert(numbers.end(), numbers.begin(), numbers.begin() + kFiles / 10);  // these come twice
    const auto pathOf = [](int number) {
        char path[32];
        std::snprintf(path, sizeof path, "/Loops/%06d.aif", number);
        return std::string(path);
    };
    const std::set<SearchKeyInfo> tags{{"Funk", SearchKeyInfo::kGenre, nullptr}};
    OrganizedSearchResults results;
    for (const int number : numbers) {
        std::set<SearchKeyInfo> keys;
        results.addFileToOrganizedResults(CFileIndexInfo(pathOf(number).c_str(), tags, keys), true);
        if (number % 20'000 == 0) results.find(SearchKey("Funk"));  // sorts what there is
    }
    const auto found = results.find(SearchKey("Funk"));
    ASSERT_EQ(found.size(), std::size_t{kFiles});
    for (int i = 0; i < kFiles; ++i) ASSERT_EQ(found[static_cast<std::size_t>(i)]->getFileName(), pathOf(i));
    EXPECT_EQ(results.files().size(), std::size_t{kFiles});
    results.clear();
    EXPECT_TRUE(results.recordsByKey().empty());
    add(results, "/A", true);
    EXPECT_EQ(pathsUnder(results, "Funk"), Paths{"/A"});
}

}  // namespace
}  // namespace marl
