// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/PathWords.h>

#include <gtest/gtest.h>

namespace marl {
namespace {

using platform::PropertyList;
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

class PathWordsTest : public testing::Test {
protected:
    PathWordsTest() {
        m_dictionary.loadIndexSets(
            Dictionary{
                {"Instrument Types", Dictionary{{"Kick", Array{"808 Kick"}},
                                                {"Hi-Hat", Array{"Closed Hat", "Open Hat"}},
                                                {"Synth Bass", Array{"808 Bass"}},
                                                {"Bass Guitar", Array{"Upright Bass"}},
                                                {"Piano", Array{"Upright Piano"}}}},
                {"Genres", Array{"House", "Deep House", "Lo-Fi", "R&B", "Drum and Bass", "Future Bass"}},
                {"Descriptors", Array{"Dry,Wet", "Deep,None", "A,B", "C,D", "E,F", "G,H", "I,J", "K,L"}}},
            "keywords");
        m_dictionary.loadSearchKeyTranslation(Dictionary{{"bass", Array{"Bass Guitar", "Synth Bass"}},
                                                         {"808", Array{"808 Bass", "808 Kick"}},
                                                         {"upright", Array{"Upright Bass", "Upright Piano"}},
                                                         {"kik", "Kick"},
                                                         {"hh", "Hi-Hat"}},
                                              "translations");
    }

    FileTags tagsOf(const std::string& path) {
        FileTags tags(m_dictionary);
        PathWords(m_dictionary, tags).parsePath(path);
        return tags;
    }

    /// The tags in the order of their categories: "Kick/808 Kick, House, Dry, Wet".
    static std::string text(FileTags tags) {
        std::string instrument, subType, others;
        for (const SearchKeyInfo& tag : tags.chosen()) {
            const std::string key(tag.key.view());
            if (tag.category == SearchKeyInfo::kInstrument) instrument = key;
            if (tag.category == SearchKeyInfo::kInstrumentSubType) subType = "/" + key;
            if (tag.category == SearchKeyInfo::kGenre) others = "; " + key + others;
            if (tag.category == SearchKeyInfo::kDescriptor) others += ", " + key;
        }
        return instrument + subType + others;
    }

    KeywordDictionary m_dictionary;
};

TEST_F(PathWordsTest, SplitsNamesInEveryWayTheyAreWritten) {
    const struct {
        const char *path, *tags;
    } cases[] = {
        {"Kick.wav", "Kick"},
        {"kick", "Kick"},
        {"/x/KICK 01.aif", "Kick"},
        {"x_kik-01.v2.wav", "Kick"},
        {"x+Kick,dry(wet)[x].wav", "Kick, Dry, Wet"},
        {"Deep_House", "; Deep House, Deep"},
        {"deep house", "; Deep House, Deep"},
        {"DeepHouse", "; Deep House, Deep"},
        {"xDeep-HouseX", "; Deep House, Deep"},
        {"deephouse", ""},
        {"R&B", "; R&B"},
        {"Lo-Fi", "; Lo-Fi"},
        {"My Lo-Fi beat", "; Lo-Fi"},
        {"Drum_and_Bass", "; Drum and Bass"},
        {"Pack - Drum and Bass - 1/x", "; Drum and Bass"},
        {"a-Closed Hat_b", "Hi-Hat/Closed Hat, A, B"},
        {"Hi-Hat", "Hi-Hat"},
        {"kicked skick", ""},
        {"Kick.d/x", "Kick, D"},
        {".Kick", "Kick"},
        {"Kick.", "Kick"},
        {"Kick.wav/", "Kick"},
        {"/", ""},
        {"", ""},
        {"-_ .wav", ""},
        {"Kick\xC3.wav", ""},
        {"\xFFKick \xFF Dry", ", Dry"},
    };
    for (const auto& [path, tags] : cases) EXPECT_EQ(text(tagsOf(path)), tags) << path;
}

TEST_F(PathWordsTest, TakesWhatIsNearestToTheEndOfThePath) {
    const struct {
        const char *path, *tags;
    } cases[] = {
        {"Kick/Piano.wav", "Piano"},
        {"Piano/Kick.wav", "Kick"},
        {"Piano Kick.wav", "Kick"},
        {"Kick Piano.wav", "Piano"},
        {"House/R&B/x.wav", "; R&B"},
        {"Closed Hat/Kick.wav", "Kick"},                // no sub-type of another instrument
        {"808 Kick/Hi-Hat/Kick.wav", "Kick/808 Kick"},  // but one of its own from further up
        {"Dry/Wet/A.wav", ", A, Dry, Wet"},
        {"Synth Bass.wav", "Synth Bass"},  // not the bass guitar that "Bass" may be
        {"Future Bass/House/A.wav", "; House, A"},
        {"Future Bass/A.wav", "; Future Bass, A"},
        {"Kick/Future Bass.wav", "Kick; Future Bass"},
    };
    for (const auto& [path, tags] : cases) EXPECT_EQ(text(tagsOf(path)), tags) << path;
}

TEST_F(PathWordsTest, LetsThePathDecideBetweenMeanings) {
    const struct {
        const char *path, *tags;
    } cases[] = {
        {"Bass.wav", "Bass Guitar"},
        {"808.wav", "Synth Bass/808 Bass"},
        {"Kick/808 01.wav", "Kick/808 Kick"},
        {"Kick 808.wav", "Kick/808 Kick"},
        {"Bass/808.wav", "Synth Bass/808 Bass"},
        {"808/Bass.wav", "Synth Bass/808 Bass"},
        {"Upright.wav", "Bass Guitar/Upright Bass"},
        {"Upright Piano/Upright 3.wav", "Piano/Upright Piano"},
    };
    for (const auto& [path, tags] : cases) EXPECT_EQ(text(tagsOf(path)), tags) << path;
}

TEST_F(PathWordsTest, ComesSecondToWhatAFileSaysOfItself) {
    const struct {
        const char *instrument, *subType, *genre, *path, *tags;
    } cases[] = {
        {"Piano", "", "", "Kick/808 Kick.wav", "Piano"},
        {"Kick", "", "", "808 Kick/Piano.wav", "Kick/808 Kick"},
        {"Kick", "Gated", "", "808 Kick.wav", "Kick/Gated"},
        {"", "808 Kick", "", "Piano.wav", "Kick/808 Kick"},
        {"", "Gated", "", "Piano.wav", "/Gated"},
        {"", "", "Polka", "House/Kick.wav", "Kick; Polka"},
        {"\u00C9tude", "\xFF", "\x80", "House/Kick.wav", "Kick; House"},  // no keys
    };
    for (const auto& [instrument, subType, genre, path, expected] : cases) {
        FileTags tags = tagsOf(path);
        tags.setInstrument(SearchKey(instrument), SearchKey(subType));
        tags.setGenre(SearchKey(genre));
        EXPECT_EQ(text(tags), expected) << path;
    }
}

TEST_F(PathWordsTest, KeepsTenDescriptorsTheFilesOwnFirst) {
    FileTags tags = tagsOf("L/K/J/I/H/G/F E/D/C/B/A/Dry/Kick.wav");
    EXPECT_EQ(text(tags), "Kick, A, B, C, D, Dry, E, F, G, H, I");
    for (const char* own : {"Own", "dry", "", "Own"}) tags.addDescriptor(SearchKey(own));
    EXPECT_EQ(text(tags), "Kick, A, B, C, D, dry, E, F, G, H, Own");
    for (char c = 'a'; c <= 'z'; ++c) tags.addDescriptor(SearchKey(std::string(2, c)));
    EXPECT_EQ(text(tags), "Kick, aa, bb, cc, dd, dry, ee, ff, gg, hh, Own");
}

TEST_F(PathWordsTest, StandsTheLongestNames) {
    const std::string words(127, 'a');
    std::string path;
    for (int i = 0; i < 4; ++i) path += "/Kick." + words + "-" + words;
    EXPECT_EQ(text(tagsOf(path + "/.wav")), "Kick");
    std::string kicks;
    while (kicks.size() < 1000) kicks += "Kick_808-";
    EXPECT_EQ(text(tagsOf(kicks)), "Kick/808 Kick");
}

}  // namespace
}  // namespace marl
