// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CSearchKeySet.h>
#include <MarlCore/SearchEngine/SearchKey.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace marl {
namespace {

using namespace std::string_literals;

TEST(SearchKey, HoldsAtMostTwentyNineBytes) {
    const std::string longest(29, 'x');
    const struct {
        std::string text, key;
    } table[] = {
        {"", ""},
        {"Bass", "Bass"},
        {longest, longest},
        {longest + "y", longest},
        {longest + "yz", longest},
        {"Bass\0Drums"s, "Bass"},
        {"\0Drums"s, ""},
        {"\xFF\n\x80", "\xFF\n\x80"},
    };
    for (const auto& [text, expected] : table) {
        const SearchKey key(text);
        EXPECT_EQ(key.view(), expected);
        EXPECT_TRUE(std::all_of(key.bytes().begin() + static_cast<int>(expected.size()), key.bytes().end(),
                                [](char c) { return c == 0; }))
            << "zero bytes fill " << text;
    }
    const std::vector<std::byte> endless(30, std::byte{'e'});
    EXPECT_EQ(SearchKey::fromBytes(endless.data()).view(), std::string(29, 'e'));
}

TEST(SearchKey, IsValidFromByteOneToByte127) {
    for (int first = 0; first < 256; ++first)
        EXPECT_EQ(SearchKey(std::string(1, static_cast<char>(first)) + "ass").isValid(),
                  first >= 1 && first <= 127)
            << first;
}

TEST(SearchKey, ComparesUpperCaseLettersAsSignedCharacters) {
    const struct {
        const char *a, *b;
        int difference;
    } table[] = {
        {"", "", 0},
        {"bass", "BASS", 0},
        {"a", "C", 'A' - 'C'},
        {"C", "a", 'C' - 'A'},
        {"", "a", -'A'},
        {"Bassoon", "bass", 'O'},
        {"a", "[", 'A' - '['},
        {"z", "{", 'Z' - '{'},
        {"\xFF", "a", -1 - 'A'},
        {"a", "\x80", 'A' + 128},
        {"\xC3\xA9", "\xC3\x89", 0xA9 - 0x89},
        {"@", "`", '@' - '`'},
    };
    for (const auto& [a, b, difference] : table) {
        EXPECT_EQ(stricmp(a, b), difference) << a << " and " << b;
        const SearchKey keyA(a), keyB(b);
        EXPECT_EQ(keyA == keyB, difference == 0);
        EXPECT_EQ(keyA < keyB, difference < 0);
        EXPECT_EQ(keyA > keyB, difference > 0);
    }
}

TEST(SearchKeyInfo, StandsInSetsForItsKeyAlone) {
    const SearchKeyInfo bass("Bass", SearchKeyInfo::kInstrument, nullptr);
    const SearchKeyInfo synthetic("Synthetic Bass", SearchKeyInfo::kInstrumentSubType, &bass);
    EXPECT_EQ(synthetic.parent.view(), "Bass");
    EXPECT_EQ(bass.parent.view(), "");
    std::set<SearchKeyInfo> keys{bass, synthetic, {"BASS", SearchKeyInfo::kGenre, nullptr}};
    EXPECT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys.begin()->category, SearchKeyInfo::kInstrument);
    EXPECT_FALSE(bass != SearchKeyInfo("bAss", SearchKeyInfo::kGenre, &synthetic));
    EXPECT_TRUE(bass != synthetic);
}

// Against the multiset that it stands for: random keys in several spellings, files in any order.
TEST(CSearchKeySet, IsAMultisetOrderedByKeyAlone) {
    const std::vector<std::string> spellings{
        "Bass", "bass", "BASS", "Drums", "drums", "", "\xC3\xA9t\xC3\xA9"};
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto below = [&](std::size_t end) { return random() % end; };
        CSearchKeySet set;
        std::multiset<CSearchKeyIndex, CSearchKeyIndexLess> model;
        for (int step = 0; step < 300; ++step) {
            const auto fileID = static_cast<std::int32_t>(1 + below(30));
            if (below(8) == 0) {
                std::erase_if(model, [&](const CSearchKeyIndex& entry) {
                    return entry.getFileID() == fileID || entry.getFileID() == 31;
                });
                set.erase(std::vector{fileID, 31});
            } else {
                const CSearchKeyIndex entry(SearchKey{spellings[below(spellings.size())]}, fileID);
                model.insert(entry);
                set.insert(entry);
            }
            auto expected = model.begin();
            ASSERT_EQ(set.size(), model.size());
            set.forEach([&](const SearchKey& key, std::int32_t file) {
                EXPECT_EQ(key.view(), expected->getSearchKey().view());
                EXPECT_EQ(file, expected++->getFileID());
            });
            const SearchKey asked(spellings[below(spellings.size())]);
            std::set<std::int32_t> files;
            const auto [begin, end] = model.equal_range(CSearchKeyIndex(asked, 0));
            for (auto entry = begin; entry != end; ++entry) files.insert(entry->getFileID());
            EXPECT_TRUE(std::ranges::equal(set.find(asked), files));
        }
        set.clear();
        EXPECT_TRUE(set.find(SearchKey("Bass")).empty());
    }
}

}  // namespace
}  // namespace marl
