// SPDX-License-Identifier: MIT
// The browser without a terminal: its list, its keys and its lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string_view>

#include "browser/Browser.h"
#include "browser/Cells.h"
#include "browser/Keys.h"
#include "browser/LoopList.h"
#include "browser/Screen.h"

namespace {

using browser::Key;
using browser::KeyDecoder;
using browser::Loop;
using browser::LoopList;
using Code = Key::Code;

Loop loop(const std::string& name, const std::string& key = "", const std::string& tempo = "",
          const std::string& words = "") {
    return {"/loops/" + name, name, key, tempo, tempo.empty() ? "" : "4/4", "", words};
}

std::vector<Loop> fewLoops() {
    return {loop("Bass/Deep.aif", "A minor", "124", "Synth Bass\nDark\n"),
            loop("Bass/Funky.aif", "E minor", "104", "Electric Bass\n"),
            loop("Drums/Deep Kick.wav", "", "124", "Drum Kit\n"), loop("Drums/Öl.wav", "", "", "Dark\n")};
}

std::string namesOf(const LoopList& list) {
    std::string names;
    for (std::size_t i = 0; i < list.count(); ++i) names += list.at(i).name + ";";
    return names;
}

TEST(LoopList, FindsLoopsThatHaveEveryWord) {
    const std::string deep = "Bass/Deep.aif;", funky = "Bass/Funky.aif;", kick = "Drums/Deep Kick.wav;",
                      oil = "Drums/Öl.wav;";
    const struct {
        const char* filter;
        std::string found;
    } cases[] = {{"", deep + funky + kick + oil},
                 {"   ", deep + funky + kick + oil},
                 {"deep", deep + kick},
                 {"DEEP 124", deep + kick},
                 {"124 a", deep + kick},
                 {"dark", deep + oil},
                 {"minor bass", deep + funky},
                 {"e minor electric", funky},
                 {"Öl", oil},
                 {"bassdark", ""},  // no word reaches from one field into the next
                 {"4/4 kick", kick},
                 {"loops", ""}};  // the folder that was indexed is in every path
    for (const auto& row : cases) {
        LoopList list(fewLoops());
        list.setFilter(row.filter);
        EXPECT_EQ(namesOf(list), row.found) << row.filter;
    }
}

TEST(LoopList, KeepsTheChosenLoopThroughFilters) {
    LoopList list(fewLoops());
    list.moveBy(2);
    list.setFilter("deep");
    EXPECT_EQ(list.chosen()->name, "Drums/Deep Kick.wav");
    list.setFilter("bass");
    EXPECT_EQ(list.chosen()->name, "Bass/Funky.aif") << "the last, as none behind it matches";
    list.setFilter("bass xyz");
    EXPECT_EQ(list.chosen(), nullptr);
    list.moveBy(1);
    list.setFilter("");
    EXPECT_EQ(list.chosen()->name, "Drums/Deep Kick.wav");
    list.moveBy(100);
    EXPECT_EQ(list.chosenRow(), 3u);
    list.moveBy(-100);
    EXPECT_EQ(list.chosenRow(), 0u);
}

std::string randomText(std::minstd_rand& random, std::size_t most) {
    std::string text(random() % (most + 1), ' ');
    for (char& c : text) c = "ab c"[random() % 4];
    return text;
}

TEST(LoopList, FiltersTheSameHoweverTheTextCameAbout) {
    constexpr unsigned kSeed = 7;
    std::minstd_rand random(kSeed);
    std::vector<Loop> loops;
    for (int i = 0; i < 200; ++i) loops.push_back(loop(randomText(random, 12)));
    LoopList list(loops);
    for (int step = 0; step < 2000; ++step) {
        const std::string text = random() % 3 ? list.filter() + randomText(random, 1) : randomText(random, 3);
        list.setFilter(text);
        LoopList fresh(loops);
        fresh.setFilter(text);
        ASSERT_EQ(namesOf(list), namesOf(fresh)) << "'" << text << "', step " << step << ", seed " << kSeed;
    }
}

TEST(LoopList, ScrollsNoFurtherThanTheChosenLoopNeeds) {
    constexpr unsigned kSeed = 11;
    std::minstd_rand random(kSeed);
    LoopList list(std::vector<Loop>(50));
    std::size_t top = 0, height = 10;
    for (int step = 0; step < 2000; ++step) {
        list.moveBy(static_cast<std::ptrdiff_t>(random() % 41) - 20);
        if (random() % 10 == 0) height = 1 + random() % 60;
        const std::size_t lastTop = height < 50 ? 50 - height : 0, row = list.chosenRow();
        const std::size_t highest = std::min(row, lastTop), lowest = row >= height ? row - height + 1 : 0;
        top = std::clamp(top, lowest, highest);
        ASSERT_EQ(list.scrolledTo(height), top) << "step " << step << ", seed " << kSeed;
    }
}

std::string shown(const std::vector<Key>& keys) {
    std::string text;
    for (const Key& key : keys)
        text += key.code == Code::kText ? key.text : "<" + std::to_string(static_cast<int>(key.code)) + ">";
    return text;
}

TEST(Keys, AreTheSameInPiecesOfAnySize) {
    const struct {
        std::string bytes;
        std::vector<Key> keys;
    } cases[] = {
        {"a b", {{Code::kText, "a"}, {Code::kText, " "}, {Code::kText, "b"}}},
        {"ö€😀", {{Code::kText, "ö"}, {Code::kText, "€"}, {Code::kText, "😀"}}},
        {"\x1b[A\x1bOB\x1b[5~x", {{Code::kUp}, {Code::kDown}, {Code::kPageUp}, {Code::kText, "x"}}},
        {"\x1b[H\x1b[4~\r", {{Code::kHome}, {Code::kEnd}, {Code::kEnter}}},
        {"\x1b[1;5C\x1b[200~x", {{Code::kText, "x"}}},  // keys that mean nothing
        {"\x1b"
         "a\x1bö\x1b\r\x1b\x80x",
         {{Code::kText, "x"}}},                     // with Alt
        {"\x1b[[A\x1b[[Ex", {{Code::kText, "x"}}},  // F1 and F5 of the Linux console
        {"\x1b\x1b[B", {{Code::kEscape}, {Code::kDown}}},
        {"\x80\xFFz\xC3(y", {{Code::kText, "z"}, {Code::kText, "y"}}},  // no UTF-8
        {"\x7f\b\x15\x03\x1a",
         {{Code::kBackspace}, {Code::kBackspace}, {Code::kClear}, {Code::kQuit}, {Code::kSuspend}}},
        {"\x17\x1b\x7f\x1b\b", {{Code::kEraseWord}, {Code::kEraseWord}, {Code::kEraseWord}}},
        {"\x1b[" + std::string(31, '1') + "A",
         {{Code::kText, "1"}, {Code::kText, "A"}}},  // too long for a sequence
        {std::string(1, '\0') + "\x01\tq", {{Code::kText, "q"}}},
    };
    for (const auto& row : cases)
        for (std::size_t size = 1; size <= row.bytes.size(); ++size) {
            KeyDecoder decoder;
            std::vector<Key> keys;
            for (std::size_t at = 0; at < row.bytes.size(); at += size)
                std::ranges::copy(decoder.feed(std::string_view(row.bytes).substr(at, size)),
                                  std::back_inserter(keys));
            EXPECT_EQ(shown(keys), shown(row.keys)) << row.bytes << " by " << size;
            EXPECT_FALSE(decoder.isWaiting()) << row.bytes;
        }
}

TEST(Keys, TakeAnEscapeForAKeyOnceNothingFollows) {
    KeyDecoder decoder;
    EXPECT_EQ(decoder.feed("\x1b"), std::vector<Key>());
    EXPECT_TRUE(decoder.isWaiting());
    EXPECT_EQ(decoder.finish(), std::vector<Key>{{Code::kEscape}});
    EXPECT_FALSE(decoder.isWaiting());
    decoder.feed("\xE2\x82");
    EXPECT_EQ(decoder.finish(), std::vector<Key>()) << "half a character";
}

TEST(Cells, HoldTextOfAnyWidth) {
    const struct {
        const char* text;
        std::size_t columns;
        const char* cells;
    } cases[] = {{"", 0, ""},
                 {"", 3, "   "},
                 {"abc", 3, "abc"},
                 {"abcd", 3, "ab…"},
                 {"abcd", 1, "…"},
                 {"abcd", 0, ""},
                 {"鼓鼓", 4, "鼓鼓"},
                 {"鼓鼓", 3, "鼓…"},
                 {"鼓鼓", 2, "… "},
                 {"e\u0301x", 2, "e\u0301x"},
                 {"a\x1b[2Jb", 6, "a\uFFFD[2Jb"},
                 {"a\u009bb", 4, "a\uFFFDb "},
                 {"😀é", 3, "😀é"},
                 {"か\u3099🚀", 4, "か\u3099🚀"},
                 {"ש\u05B8a", 2, "ש\u05B8a"},
                 {"a\u202Eb", 3, "a\uFFFDb"},  // would turn the rest of the line around
                 {"\xFFz\xE2\x82", 4, "\uFFFDz\uFFFD\uFFFD"}};
    for (const auto& row : cases)
        EXPECT_EQ(browser::fitted(row.text, row.columns), row.cells) << row.text << " in " << row.columns;
}

TEST(Cells, HoldTheEndOfText) {
    const struct {
        const char* text;
        std::size_t columns;
        const char* cells;
    } cases[] = {{"ab", 3, "ab "}, {"abc", 3, "abc"},      {"abcd", 3, "…cd"},   {"abcd", 1, "…"},
                 {"abcd", 0, ""},  {"鼓鼓鼓", 5, "…鼓鼓"}, {"鼓鼓鼓", 4, "…鼓 "}};
    for (const auto& row : cases)
        EXPECT_EQ(browser::fittedEnd(row.text, row.columns), row.cells) << row.text << " in " << row.columns;
}

/// Without SGR sequences, a cell a character.
std::size_t cellsOf(std::string_view line) {
    std::size_t cells = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\x1b')
            i = line.find('m', i);
        else if ((static_cast<unsigned char>(line[i]) & 0xC0) != 0x80)
            ++cells;
    }
    return cells;
}

TEST(Screen, FillsAWindowOfAnySize) {
    const auto halfLoud = [](std::size_t columns) {
        return browser::Levels{std::vector<float>(columns, 1), std::vector<float>(columns, 0.3f)};
    };
    for (const bool hasWaveform : {false, true})
        for (std::size_t rows = 0; rows < 40; ++rows)
            for (const std::size_t columns : {0u, 1u, 2u, 9u, 39u, 80u, 200u}) {
                LoopList list(fewLoops());
                const browser::Preview preview{hasWaveform ? halfLoud : decltype(browser::Preview::levels)(),
                                               "cannot be read"};
                const auto lines = browser::drawScreen(list, preview, {rows, columns}, true);
                ASSERT_EQ(lines.size(), rows);
                for (const std::string& line : lines) ASSERT_EQ(cellsOf(line), columns) << line;
            }
}

TEST(Screen, LeavesRoomForNamesInANarrowWindow) {
    const struct {
        std::size_t columns;
        const char* heading;
    } cases[] = {{20, "loop"},
                 {40, "key      bpm    loop"},
                 {46, "key      bpm    meter loop"},
                 {64, "key      bpm    meter instrument        loop"}};
    for (const auto& row : cases) {
        LoopList list(fewLoops());
        const auto lines = browser::drawScreen(list, {}, {10, row.columns}, false);
        EXPECT_EQ(lines[1].substr(0, lines[1].find_last_not_of(' ') + 1), row.heading);
    }
}

TEST(Screen, DrawsLevelsInEighthsOfCells) {
    LoopList list({});
    const auto levels = [](std::size_t) {
        return browser::Levels{{0, 0.125f, 0.5f, 1}, {0, 0.125f, 0.5f, 1}};
    };
    const auto lines = browser::drawScreen(list, {levels, ""}, {12, 4}, false);
    const std::string reversed = "\x1b[7m", plain = "\x1b[0m";
    const std::vector<std::string> waveform(lines.end() - 5, lines.end() - 1);
    EXPECT_EQ(waveform, (std::vector<std::string>{"   █" + plain, " ▂██" + plain, reversed + "█▆  " + plain,
                                                  reversed + "███ " + plain}));
}

TEST(Browser, EditsItsFilter) {
    browser::Browser browser(fewLoops());
    using Wish = browser::Browser::Wish;
    const auto type = [&](std::initializer_list<Key> keys) {
        for (const Key& key : keys) EXPECT_EQ(browser.press(key), Wish::kGoOn);
        return browser.list().filter();
    };
    EXPECT_EQ(type({{Code::kText, "a"}, {Code::kText, "ö"}, {Code::kText, "b"}, {Code::kBackspace}}), "aö");
    EXPECT_EQ(type({{Code::kBackspace}}), "a");
    EXPECT_EQ(type({{Code::kBackspace}, {Code::kBackspace}, {Code::kText, "x"}, {Code::kEscape}}), "");
    EXPECT_EQ(type({{Code::kText, "deep  ö k "}, {Code::kEraseWord}}), "deep  ö ");
    EXPECT_EQ(type({{Code::kEraseWord}}), "deep  ");
    EXPECT_EQ(type({{Code::kEraseWord}, {Code::kText, "  "}, {Code::kEraseWord}}), "");
    EXPECT_EQ(type({{Code::kText, "nothing"}, {Code::kEnter}, {Code::kClear}}), "");
    EXPECT_EQ(browser.press({Code::kEnter}), Wish::kChoose);
    EXPECT_EQ(browser.press({Code::kEscape}), Wish::kQuit);
}

TEST(Browser, MovesByRowsPagesAndToTheEnds) {
    browser::Browser browser(std::vector<Loop>(50));
    browser.resize({24, 80});  // 12 rows of list: a page leaves one of them in sight
    const struct {
        Code key;
        std::size_t row;
    } steps[] = {{Code::kPageDown, 11}, {Code::kDown, 12}, {Code::kPageUp, 1}, {Code::kEnd, 49},
                 {Code::kDown, 49},     {Code::kUp, 48},   {Code::kHome, 0},   {Code::kPageUp, 0}};
    for (const auto& step : steps) {
        EXPECT_EQ(browser.press({step.key}), browser::Browser::Wish::kGoOn);
        EXPECT_EQ(browser.list().chosenRow(), step.row) << static_cast<int>(step.key);
    }
}

}  // namespace
