// SPDX-License-Identifier: MIT
#include <tools/marl/Index.h>
#include <tools/marl/InfoJSON.h>
#include <tools/marl/NearKeys.h>
#include <tools/marl/Output.h>
#include <tools/marl/Search.h>

#include <gtest/gtest.h>

#include <sstream>

#include "SearchEngine/SearchLibrary.h"

namespace marl::tool {
namespace {

using Names = std::vector<std::string>;

struct Outcome {
    int status;
    std::string out, err;
};

struct Loop {
    std::string name;
    support::BasicTagging tagging = {};
    support::Categories categories = {};
};

class Search : public testing::Test {
protected:
    void add(const Loop& loop) const {
        support::AIFFContents contents;
        contents.common = support::CommonChunk{.channels = 1, .bitsPerChannel = 8, .sampleRate = 1000};
        contents.basicTagging = loop.tagging;
        contents.categories = loop.categories;
        contents.samples = support::Bytes().zeros(2000);
        m_loops.write(loop.name, support::aiffFile(contents));
    }

    void index() const {
        std::ostringstream out, err;
        ASSERT_EQ(runIndex({.indexDirectory = m_indexes.path(), .folders = {m_loops.path()}}, out, err),
                  kDone)
            << err.str();
    }

    Outcome search(SearchOptions options) const {
        options.indexDirectory = m_indexes.path();
        std::ostringstream out, err;
        const int status = runSearch(options, out, err);
        return {status, out.str(), err.str()};
    }

    json found(SearchOptions options) const {
        options.json = true;
        return json::parse(search(std::move(options)).out);
    }

    Names names(const SearchOptions& options) const {
        Names names;
        const json object = found(options);
        for (const json& result : object["results"])
            names.push_back(result["path"].get<std::string>().substr(m_loops.path().size() + 1));
        return names;
    }

    support::TemporaryFolder m_loops, m_indexes;
};

TEST_F(Search, PrintsEveryField) {
    add({"x.aif",
         {.beats = 7, .rootNote = 67, .scaleType = 2, .numerator = 7, .denominator = 8},
         {.instrument = "Xinst",
          .instrumentSubType = "Xsub",
          .genre = "Xgenre",
          .descriptors = {"Xd", "Xe"}}});
    add({"y.aif", {.beats = 0, .rootNote = -1, .fileType = 2}});
    index();
    const json expected = {{"count", 2},
                           {"results",
                            {{{"path", m_loops.path("x.aif")},
                              {"instrument", "Xinst"},
                              {"instrumentSubType", "Xsub"},
                              {"genre", "Xgenre"},
                              {"descriptors", {"Xd", "Xe"}},
                              {"tempo", 105.0},
                              {"rootNote", 67},
                              {"keyType", 2},
                              {"timeSignature", {7, 8}},
                              {"numberOfBeats", 3},
                              {"oneShot", false},
                              {"fileID", 1}},
                             {{"path", m_loops.path("y.aif")},
                              {"instrument", nullptr},
                              {"instrumentSubType", nullptr},
                              {"genre", nullptr},
                              {"descriptors", json::array()},
                              {"tempo", nullptr},
                              {"rootNote", 0},
                              {"keyType", 3},
                              {"timeSignature", {4, 4}},
                              {"numberOfBeats", 4},
                              {"oneShot", true},
                              {"fileID", 2}}}},
                           {"keys", {{"Xd", 1}, {"Xe", 1}, {"Xgenre", 1}, {"Xinst", 1}, {"Xsub", 1}}}};
    EXPECT_EQ(found({}).dump(1), expected.dump(1));
    EXPECT_EQ(search({}).out,
              "type         bpm meter key      instrument           genre            path\n"
              "loop      105.00 7/8   G major  Xinst                Xgenre           " +
                  m_loops.path("x.aif") +
                  "\n"
                  "one-shot       - -     -        -                    -                " +
                  m_loops.path("y.aif") + "\n2 loop files\n");
}

TEST_F(Search, FindsWhatPassesEveryFilter) {
    add({"b/c60.aif", {.rootNote = 60, .scaleType = 1}, {.genre = "Xg", .descriptors = {"Xa", "Two Words"}}});
    add({"a/d62.aif", {.rootNote = 62, .scaleType = 2}, {.genre = "Xg", .descriptors = {"Xb"}}});
    add({"a/none.aif", {.rootNote = -1, .numerator = 3}, {.descriptors = {"Xa"}}});
    index();
    const struct {
        const char* what;
        SearchOptions options;
        Names names;
    } kRows[] = {
        {"nothing asked: by path", {}, {"a/d62.aif", "a/none.aif", "b/c60.aif"}},
        {"a key in another case", {.keys = {"xA"}}, {"a/none.aif", "b/c60.aif"}},
        {"two keys", {.keys = {"Xa", "Xg"}}, {"b/c60.aif"}},
        {"a key of two words", {.keys = {"two words"}}, {"b/c60.aif"}},
        {"keys that never meet", {.keys = {"Xa", "Xb"}}, {}},
        {"a part of the path", {.name = "A/"}, {"a/d62.aif", "a/none.aif"}},
        {"a first letter", {.name = "C"}, {"b/c60.aif"}},
        {"a meter", {.filters = {.timeSignature = {3, 4}}}, {"a/none.aif"}},
        {"a root note, or none", {.key = 62}, {"a/d62.aif", "a/none.aif"}},
        {"two semitones",
         {.filters = {.keyTolerance = 2}, .key = 62},
         {"a/d62.aif", "a/none.aif", "b/c60.aif"}},
        {"a scale type", {.filters = {.keyType = 1}}, {"a/none.aif", "b/c60.aif"}},
        {"a limit", {.limit = 2}, {"a/d62.aif", "a/none.aif"}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(names(row.options), row.names);
    }
    const json limited = found({.limit = 1, .keys = {"Xa"}});
    EXPECT_EQ(limited["count"], 2);
    EXPECT_EQ(limited["results"].size(), 1U);
    EXPECT_EQ(limited["keys"]["Xa"], 2);
    EXPECT_TRUE(search({.limit = 1}).out.ends_with("\n1 of 3 loop files\n"));
    EXPECT_EQ(search({.keys = {"Xa", "Xb"}}).out, "no loop files\n");
    EXPECT_EQ(search({.keys = {"Xa", "Xb"}}).err, "");
}

TEST_F(Search, ListsAFileOfTwoIndexesOnce) {
    add({"in/a.aif", {}, {.genre = "Xg"}});
    index();
    std::ostringstream out, err;
    runIndex({.indexDirectory = m_indexes.path(), .folders = {m_loops.path("in")}}, out, err);
    const json both = found({.keys = {"Xg"}});
    EXPECT_EQ(both["count"], 1);
    EXPECT_EQ(both["keys"]["Xg"], 1);
    EXPECT_EQ(names({}), Names{"in/a.aif"});
}

TEST_F(Search, NamesPathsThatAreNoText) {
    add({"no \xFF.aif"});
    add({"line\nbreak.aif"});
    index();
    const json result = found({.name = "n"})["results"].at(0);
    EXPECT_EQ(result["path"], m_loops.path("no \xEF\xBF\xBD.aif"));
    EXPECT_TRUE(result["pathURL"].get<std::string>().ends_with("/no%20%FF.aif")) << result;
    EXPECT_NE(search({}).out.find("/line\\x0Abreak.aif\n"), std::string::npos);
}

TEST_F(Search, SuggestsKeysThatThereAre) {
    add({"a.aif", {}, {.genre = "Xgenre", .descriptors = {"Xbright", "Xylo Guitar"}}});
    index();
    const struct {
        std::string key, hint;
    } kRows[] = {{"Xbrihgt", "; did you mean 'Xbright'?"},   {"xylo", "; did you mean 'Xylo Guitar'?"},
                 {"guitr", "; did you mean 'Xylo Guitar'?"}, {"xge", "; did you mean 'Xgenre'?"},
                 {"zzzzzz", ": 'marl keywords' lists them"}, {"\xFF", ": 'marl keywords' lists them"}};
    for (const auto& row : kRows) {
        const Outcome outcome = search({.json = true, .keys = {"Xgenre", row.key}});
        EXPECT_EQ(outcome.status, kDone);
        EXPECT_EQ(json::parse(outcome.out)["count"], 0);
        const std::string name = row.key == "\xFF" ? "\\xFF" : row.key;
        EXPECT_EQ(outcome.err, "marl: " + name + ": no loop file has this key" + row.hint + "\n");
    }
}

TEST_F(Search, TakesWordsAsAMusicianMeansThem) {
    add({"kit 120.aif", {.beats = 4}, {.instrument = "Drum Kit", .genre = "House"}});
    add({"kit 90.aif", {.beats = 3}, {.instrument = "Drum Kit", .genre = "174"}});
    add({"hat.aif", {.fileType = 2}, {.instrument = "Hi-Hat", .descriptors = {"pads"}}});
    add({"pick.aif", {.beats = 4}, {.instrument = "Bass Guitar", .genre = "House"}});
    add({"sub.aif", {.beats = 4}, {.instrument = "Synth Bass", .instrumentSubType = "808 Bass"}});
    add({"boom.aif", {.beats = 4}, {.instrument = "Kick", .instrumentSubType = "808 Kick"}});
    add({"z.aif", {.beats = 4}, {.instrument = "Synth Pad", .genre = std::string(29, 'x')}});
    index();
    const std::string drums = "marl: drums: searched as Drum Kit\n", hat = ": searched as Hi-Hat\n",
                      bass = "marl: bass: searched as Bass Guitar or Synth Bass\n",
                      tempo = ": searched as a tempo of ";
    const struct {
        Names words, names;
        std::string said;
    } kRows[] = {
        {{"drums"}, {"kit 120.aif", "kit 90.aif"}, drums},
        {{"drums", "120"}, {"kit 120.aif"}, drums + "marl: 120" + tempo + "120 beats a minute\n"},
        {{"drum kit", "90.5"}, {"kit 90.aif"}, "marl: 90.5" + tempo + "90.5 beats a minute\n"},
        {{"drum kit", "90.6"}, {}, "marl: 90.6" + tempo + "90.6 beats a minute\n"},
        {{"hihat"}, {"hat.aif"}, "marl: hihat" + hat},
        {{"Hi Hat"}, {"hat.aif"}, "marl: Hi Hat" + hat},
        {{"hat01"}, {"hat.aif"}, "marl: hat01" + hat},
        {{"bass"}, {"pick.aif", "sub.aif"}, bass},
        {{"bass", "house"}, {"pick.aif"}, bass},
        {{"bass", "808"}, {"sub.aif"}, bass + "marl: 808: searched as 808 Bass or 808 Kick\n"},
        {{"pads"}, {"hat.aif"}, ""},    // a key is nothing but itself
        {{"174"}, {"kit 90.aif"}, ""},  // and no tempo
        {{"drums", "90-120"},
         {"kit 120.aif", "kit 90.aif"},
         drums + "marl: 90-120: searched as tempos from 90 to 120 beats a minute\n"},
        {{"90.1-400"},
         {"boom.aif", "kit 120.aif", "pick.aif", "sub.aif", "z.aif"},
         "marl: 90.1-400: searched as tempos from 90.1 to 400 beats a minute\n"},
        {{"20-119.9"},
         {"kit 90.aif"},
         "marl: 20-119.9: searched as tempos from 20 to 119.9 beats a minute\n"},
        {{"90-90"}, {"kit 90.aif"}, "marl: 90-90: searched as tempos from 90 to 90 beats a minute\n"},
        {{"130-90"}, {}, "marl: 130-90: no loop file has this key: 'marl keywords' lists them\n"},
        {{"90-401"}, {}, "marl: 90-401: no loop file has this key: 'marl keywords' lists them\n"},
        {{"90-"}, {}, "marl: 90-: no loop file has this key: 'marl keywords' lists them\n"},
        {{"90--130"}, {}, "marl: 90--130: no loop file has this key: 'marl keywords' lists them\n"},
        {{"19.9"}, {}, "marl: 19.9: no loop file has this key: 'marl keywords' lists them\n"},
        {{"nan"}, {}, "marl: nan: no loop file has this key: 'marl keywords' lists them\n"},
        {{std::string(29, 'X')}, {"z.aif"}, ""},
        {{std::string(30, 'x')}, {}, "marl: " + std::string(30, 'x') + ": no key is longer than 29 bytes\n"},
        {{std::string(59, 'x') + "\u00E9"},
         {},
         "marl: " + std::string(59, 'x') + "…: no key is longer than 29 bytes\n"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.words.back());
        EXPECT_EQ(names({.keys = row.words}), row.names);
        EXPECT_EQ(search({.keys = row.words}).err, row.said);
    }
    const json limited = found({.limit = 1, .keys = {"120"}});
    EXPECT_EQ(limited["count"], 5);
    EXPECT_EQ(limited["results"].size(), 1U);
    EXPECT_EQ(limited["keys"]["House"], 2);
}

TEST_F(Search, FindsRootNotesInEveryOctave) {
    add({"b59.aif", {.rootNote = 59, .scaleType = 1}});
    add({"c1.aif", {.rootNote = 12}});
    add({"f#66.aif", {.rootNote = 66}});
    add({"g127.aif", {.rootNote = 127}});
    add({"g7.aif", {.rootNote = 7}, {.genre = "Xg"}});
    add({"hit.aif", {.rootNote = 62, .fileType = 2}});
    add({"none.aif", {.rootNote = -1}, {.genre = "Xg"}});
    index();
    const struct {
        int pitchClass, tolerance;
        Names names;
    } kRows[] = {{7, 0, {"g127.aif", "g7.aif", "hit.aif", "none.aif"}},
                 {7, 1, {"f#66.aif", "g127.aif", "g7.aif", "hit.aif", "none.aif"}},
                 {11, 0, {"b59.aif", "hit.aif", "none.aif"}},
                 {11, 1, {"b59.aif", "c1.aif", "hit.aif", "none.aif"}},
                 {0, 1, {"b59.aif", "c1.aif", "hit.aif", "none.aif"}},
                 {1, 4, {"b59.aif", "c1.aif", "hit.aif", "none.aif"}},
                 {1, 5, {"b59.aif", "c1.aif", "f#66.aif", "hit.aif", "none.aif"}},
                 {1, 127, names({})}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.pitchClass << " +- " << row.tolerance);
        EXPECT_EQ(names({.filters = {.keyTolerance = row.tolerance}, .pitchClass = row.pitchClass}),
                  row.names);
    }
    EXPECT_EQ(names({.pitchClass = 7, .keys = {"Xg"}}), (Names{"g7.aif", "none.aif"}));
    EXPECT_EQ(found({.pitchClass = 7, .limit = 1})["count"], 4);
}

TEST_F(Search, NeedsAnIndex) {
    const Outcome outcome = search({});
    EXPECT_EQ(outcome.status, kFailed);
    EXPECT_EQ(outcome.err, "marl: " + m_indexes.path() + ": no index yet: 'marl index FOLDER' makes one\n");
    EXPECT_EQ(outcome.out, "");
}

TEST(NoteNames, AreReadAsTheyArePrinted) {
    for (int note = 1; note <= 127; ++note) EXPECT_EQ(pitchClassNamed(noteName(note)), note % 12) << note;
    const struct {
        const char* name;
        std::optional<int> pitchClass;
    } kRows[] = {{"g", 7},  {"Gb", 6},  {"b", 11},  {"bb", 10},  {"Bb", 10}, {"cb", 11}, {"B#", 0},
                 {"E#", 5}, {"Fb", 4},  {"", {}},   {"-", {}},   {"H", {}},  {"h", {}},  {".", {}},
                 {"#", {}}, {"G4", {}}, {"BB", {}}, {"G##", {}}, {"Gm", {}}};
    for (const auto& row : kRows) EXPECT_EQ(pitchClassNamed(row.name), row.pitchClass) << row.name;
}

TEST(NearKeys, CountTheLettersThatDiffer) {
    const struct {
        const char *a, *b;
        std::size_t distance;
    } kRows[] = {{"", "", 0},         {"", "abc", 3},       {"bass", "BASS", 0},
                 {"bas", "bass", 1},  {"baass", "bass", 1}, {"bess", "bass", 1},
                 {"abss", "bass", 1}, {"ca", "abc", 3},     {"kitten", "sitting", 3}};
    for (const auto& row : kRows) {
        EXPECT_EQ(spellingDistance(row.a, row.b), row.distance) << row.a << " " << row.b;
        EXPECT_EQ(spellingDistance(row.b, row.a), row.distance) << row.b << " " << row.a;
    }
}

}  // namespace
}  // namespace marl::tool
