// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/KeywordDictionary.h>

#include <MarlCore/platform/Bundle.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace marl {
namespace {

using platform::PropertyList;
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

PropertyList shipped(const char* name, const char* type) {
    const auto path = platform::Bundle::pathForResource(name, type);
    return path ? PropertyList::load(*path) : PropertyList("missing");
}

const KeywordDictionary& shippedDictionary() {
    static KeywordDictionary dictionary;
    static const bool loaded = [] {
        dictionary.loadIndexSets(shipped("Keyword Dictionary", "plist"), "keywords");
        dictionary.loadSearchKeyTranslation(shipped("additionalData", "dat"), "translations");
        return true;
    }();
    EXPECT_TRUE(loaded);
    return dictionary;
}

/// What the word means, in the form "1 Kick, 2 808 Kick < Kick".
std::string meaningOf(const KeywordDictionary& dictionary, std::string_view word) {
    std::vector<const SearchKeyInfo*> found;
    dictionary.findKeys(word, found);
    std::ostringstream text;
    for (const SearchKeyInfo* const key : found) {
        text << (key == found.front() ? "" : ", ") << key->category << ' ' << key->key.view();
        if (key->parent.isValid()) text << " < " << key->parent.view();
    }
    return text.str();
}

TEST(ShippedDictionary, HoldsNothingThatCannotBeUsed) {
    EXPECT_EQ(shippedDictionary().problems(), std::vector<std::string>());
}

/// The texts of a section, the keys of a dictionary included.
void collectTexts(const PropertyList& list, std::vector<std::string>& texts) {
    if (const auto* const text = list.asString()) {
        std::istringstream parts(*text);
        for (std::string part; std::getline(parts, part, ',');)
            if (part != "None") texts.push_back(part);
    }
    if (const auto* const array = list.asArray())
        for (const PropertyList& entry : *array) collectTexts(entry, texts);
    if (const auto* const dictionary = list.asDictionary()) {
        for (const auto& [key, value] : *dictionary) {
            texts.push_back(key);
            collectTexts(value, texts);
        }
    }
}

/// Every keyword of the dictionary, as it is spelt there.
std::vector<std::string> shippedKeywords() {
    const PropertyList list = shipped("Keyword Dictionary", "plist");
    std::vector<std::string> texts;
    for (const char* section : {"Instrument Types", "Genres", "Descriptors"}) {
        const std::size_t before = texts.size();
        collectTexts(list[section], texts);
        EXPECT_GT(texts.size(), before + 20) << section;
    }
    return texts;
}

TEST(ShippedDictionary, HoldsEveryKeywordOnce) {
    const std::vector<std::string> texts = shippedKeywords();
    std::map<SearchKey, std::string> keys;
    for (const std::string& text : texts) {
        EXPECT_TRUE(keys.emplace(SearchKey(text), text).second) << text << ' ' << keys[SearchKey(text)];
        EXPECT_LE(std::ranges::count(text, ' '), 2) << "more words than are looked up together: " << text;
    }
}

TEST(ShippedDictionary, HasANameForEachKeywordInEachLanguage) {
    std::vector<std::string> keys = shippedKeywords();
    std::ranges::sort(keys);
    for (const std::string language : {"en", "de"}) {
        const PropertyList table = shipped(("Keyword Names " + language).c_str(), "plist");
        std::vector<std::string> named;
        std::map<std::string, std::string> meanings;
        ASSERT_TRUE(table.asDictionary()) << language;
        for (const auto& [key, name] : *table.asDictionary()) {
            named.push_back(key);
            ASSERT_TRUE(name.asString() && !name.asString()->empty()) << language << ' ' << key;
            EXPECT_TRUE(meanings.emplace(*name.asString(), key).second) << "means two things: " << key;
            EXPECT_TRUE(language != "en" || *name.asString() == key) << key;
        }
        EXPECT_EQ(named, keys) << language;
    }
}

TEST(ShippedDictionary, KnowsTheWordsOfFileNames) {
    const struct {
        const char *word, *meaning;
    } cases[] = {
        {"Kick", "1 Kick"},
        {"KICKS", "1 Kick"},
        {"BD", "1 Kick"},
        {"kik", "1 Kick"},
        {"bass drum", "1 Kick"},
        {"sn", "1 Snare"},
        {"Snare12", "1 Snare"},
        {"hh", "1 Hi-Hat"},
        {"hihat", "1 Hi-Hat"},
        {"hi hat", "1 Hi-Hat"},
        {"OH", "2 Open Hat < Hi-Hat"},
        {"hh closed", "2 Closed Hat < Hi-Hat"},
        {"gtr", "1 Acoustic Guitar, 1 Electric Guitar"},
        {"vox", "1 Vocal"},
        {"fx", "1 Effect"},
        {"perc", "1 Hand Percussion, 1 Small Percussion"},
        {"808", "2 808 Bass < Synth Bass, 2 808 Kick < Kick"},
        {"B3", "2 Tonewheel Organ < Organ"},
        {"b", ""},
        {"dnb", "3 Drum and Bass"},
        {"D&B", "3 Drum and Bass"},
        {"drum n bass", "3 Drum and Bass"},
        {"rnb", "3 R&B"},
        {"deephouse", "3 Deep House"},
        {"lofi", "3 Lo-Fi"},
        {"dry", "4 Dry"},
        {"oneshot", "4 One-Shot"},
        {"fl\u00F6te", "2 Flute < Woodwind"},
        {"01", ""},
        {"", ""},
        {"Kick that has a very long name", ""},
    };
    for (const auto& [word, meaning] : cases)
        EXPECT_EQ(meaningOf(shippedDictionary(), word), meaning) << word;
}

TEST(KeywordDictionary, TakesTrailingDigitsOff) {
    const struct {
        const char *word, *stripped;
    } cases[] = {
        {"Kick01", "Kick"},  {"Kick 01", "Kick"},      {"Kick  1", "Kick"}, {"808", "808"},
        {" 8", " 8"},        {"808 Kick", "808 Kick"}, {"B3", "B"},         {"", ""},
        {"Kick-1", "Kick-"},
    };
    for (const auto& [word, stripped] : cases)
        EXPECT_EQ(KeywordDictionary::stripTrailingDigits(word), stripped) << word;
}

TEST(KeywordDictionary, PrefersTheFirstTable) {
    KeywordDictionary dictionary;
    dictionary.loadIndexSets(Dictionary{{"Descriptors", Array{"swing,Kick,X", "None,y"}},
                                        {"Genres", Array{"Swing", "Y"}},
                                        {"Instrument Types", Dictionary{{"Kick", Array{"Y"}}}}},
                             "list");
    EXPECT_EQ(meaningOf(dictionary, "SWING"), "3 Swing");
    EXPECT_EQ(meaningOf(dictionary, "kick"), "1 Kick");
    EXPECT_EQ(meaningOf(dictionary, "y"), "2 Y < Kick");
    EXPECT_EQ(meaningOf(dictionary, "x"), "4 X");
    EXPECT_EQ(meaningOf(dictionary, "none"), "");
    ASSERT_TRUE(dictionary.matchTag(SearchKey("SWING"), SearchKeyInfo::kDescriptor));
    EXPECT_EQ(dictionary.matchTag(SearchKey("SWING"), SearchKeyInfo::kDescriptor)->key.view(), "swing");
    EXPECT_EQ(dictionary.matchTag(SearchKey("nothing")), nullptr);
}

TEST(KeywordDictionary, AddsToWhatItHolds) {
    KeywordDictionary dictionary;
    dictionary.loadIndexSets(
        Dictionary{{"Instrument Types", Dictionary{{"Kick", Array{"A"}}, {"Snare", Array{}}}}}, "first");
    dictionary.loadIndexSets(
        Dictionary{{"Instrument Types", Dictionary{{"KICK", Array{"a", "B"}}, {"snare", Array{"A"}}}}},
        "second");
    EXPECT_EQ(meaningOf(dictionary, "kick"), "1 Kick");
    EXPECT_EQ(meaningOf(dictionary, "a"), "2 A < Kick");
    EXPECT_EQ(meaningOf(dictionary, "b"), "2 B < Kick");
    dictionary.loadSearchKeyTranslation(Dictionary{{"W", "snare"}, {"KICK", Array{"A", "b"}}}, "third");
    dictionary.loadSearchKeyTranslation(Dictionary{{"w", Array{"KICK"}}}, "fourth");
    EXPECT_EQ(meaningOf(dictionary, "w"), "1 Snare, 1 Kick");
    EXPECT_EQ(meaningOf(dictionary, "kick"), "2 A < Kick, 2 B < Kick") << "a translation hides the keyword";
    EXPECT_EQ(dictionary.problems(), std::vector<std::string>());
}

TEST(KeywordDictionary, PassesOverWhatCannotBeUsed) {
    const std::string longest(29, 'x');
    KeywordDictionary dictionary;
    dictionary.loadIndexSets(Array{}, "p");
    dictionary.loadIndexSets(Dictionary{{"Descriptors", 1},
                                        {"Genres", Array{longest, longest + "x", "", "\u00C9", 7, "Dub"}},
                                        {"Instrument Types", Dictionary{{"", Array{"lost"}}, {"Kick", 1}}},
                                        {"Instruments", Array{}}},
                             "p");
    dictionary.loadIndexSets(Dictionary{{"Instrument Types", Array{}}}, "p");
    dictionary.loadSearchKeyTranslation("x", "p");
    dictionary.loadSearchKeyTranslation(
        Dictionary{{"", "Dub"}, {"a", "none such"}, {"b", 1}, {"c", Array{"Dub", 1}}, {longest + "y", "Dub"}},
        "p");
    EXPECT_EQ(dictionary.problems(),
              (std::vector<std::string>{
                  "p: the property list is no dictionary",
                  "p: \"Descriptors\" is no array of strings",
                  "p: \"" + longest + "x\" is no keyword: 1 to 29 bytes, the first of them ASCII",
                  "p: \"\" is no keyword: 1 to 29 bytes, the first of them ASCII",
                  "p: \"\u00C9\" is no keyword: 1 to 29 bytes, the first of them ASCII",
                  "p: \"Genres\" is no array of strings",
                  "p: \"\" is no keyword: 1 to 29 bytes, the first of them ASCII",
                  "p: the sub-types of \"Kick\" are no array of strings",
                  "p: got invalid key = Instruments",
                  "p: \"Instrument Types\" is no dictionary",
                  "p: the property list is no dictionary",
                  "p: \"\" is no word: 1 to 29 bytes",
                  "p: \"a\" is translated to what is no keyword",
                  "p: \"b\" is translated to what is no keyword",
                  "p: \"c\" is translated to what is no keyword",
                  "p: \"" + longest + "y\" is no word: 1 to 29 bytes",
              }));
    EXPECT_EQ(meaningOf(dictionary, longest), "3 " + longest);
    EXPECT_EQ(meaningOf(dictionary, "c"), "3 Dub");
    EXPECT_EQ(meaningOf(dictionary, "kick"), "1 Kick");
    EXPECT_EQ(meaningOf(dictionary, "lost"), "");
}

}  // namespace
}  // namespace marl
