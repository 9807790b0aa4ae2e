// SPDX-License-Identifier: MIT
#include "IndexedLoops.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <limits>
#include <thread>

namespace marl {
namespace {

using support::add;
using support::IndexedLoop;
using support::makeIndex;
using support::pathsFound;
using Paths = std::vector<std::string>;

class IndexSearch : public testing::Test {
protected:
    support::TemporaryFolder folder;
    std::string path = folder.path("Search Index.txt");
    CIndexFileRef file = makeIndex(path);
};

TEST_F(IndexSearch, FindsFilesThatCarryEveryKey) {
    add(*file, {.path = "/1", .instrument = "Bass", .subType = "Synthetic Bass", .genre = "Jazz"});
    add(*file, {.path = "/2", .instrument = "bass", .descriptors = {"Dry", "jazz"}});
    add(*file, {.path = "/3", .descriptors = {"Dry", "\xC3\xA9t\xC3\xA9"}});
    add(*file, {.path = "/4"});
    add(*file, {.path = "/5", .instrument = "Bass", .genre = "Jazz"});
    support::setThere(*file, 5, false);
    const struct {
        Paths keys, found;
    } table[] = {
        {{}, {"/1", "/2", "/3", "/4"}},
        {{"BASS"}, {"/1", "/2"}},
        {{"Jazz", "Bass"}, {"/1", "/2"}},
        {{"Dry", "Bass"}, {"/2"}},
        {{"Bass", "Dry", "Jazz", "bass"}, {"/2"}},
        {{"Synthetic Bass", "Dry"}, {}},
        {{"Bass", "None"}, {}},
        {{"None", "Bass"}, {}},
        {{"Bas"}, {}},
        {{""}, {}},
        {{"\xC3\xA9t\xC3\xA9"}, {"/3"}},
    };
    for (int opened = 0; opened < 2; ++opened) {
        for (const auto& [keys, found] : table) EXPECT_EQ(pathsFound(*file, keys), found);
        EXPECT_EQ(file->getLivingFileCount(), 4);
        EXPECT_EQ(file->getLivingFileCount(SearchKey("jAZZ")), 2);
        file = {};
        file = support::openIndex(path);
    }
    support::setThere(*file, 5, true);
    EXPECT_EQ(pathsFound(*file, {"jazz"}), (Paths{"/1", "/2", "/5"}));
}

TEST_F(IndexSearch, AppliesItsFilters) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    const struct {
        IndexedLoop loop;
        SearchFilters filters;
        int projectKey;
        bool isFound;
    } table[] = {
        {{}, {}, 0, true},
        // Key types count where there is a root note.
        {{.keyType = 2, .rootNote = 60}, {.keyType = 2}, 0, true},
        {{.keyType = 1, .rootNote = 60}, {.keyType = 2}, 0, false},
        {{.keyType = 1, .rootNote = 60}, {.keyType = 0}, 0, true},
        {{.keyType = 1, .rootNote = 0}, {.keyType = 2}, 0, true},
        {{.keyType = 1, .contentFileType = 1, .rootNote = 60}, {.keyType = 2}, 0, false},
        // Time signatures match exactly; 0/0 matches all.
        {{.timeSignature = {3, 4}}, {.timeSignature = {3, 4}}, 0, true},
        {{.timeSignature = {6, 8}}, {.timeSignature = {3, 4}}, 0, false},
        {{.timeSignature = {3, 8}}, {.timeSignature = {3, 4}}, 0, false},
        {{.timeSignature = {3, 4}}, {.timeSignature = {0, 4}}, 0, false},
        {{.timeSignature = {3, 4}}, {.timeSignature = {3, 0}}, 0, false},
        {{.timeSignature = {7, 8}}, {.timeSignature = {0, 0}}, 0, true},
        // Closeness counts for loops with a root note, both ends included.
        {{.rootNote = 58}, {.keyTolerance = 2}, 60, true},
        {{.rootNote = 62}, {.keyTolerance = 2}, 60, true},
        {{.rootNote = 57}, {.keyTolerance = 2}, 60, false},
        {{.rootNote = 63}, {.keyTolerance = 2}, 60, false},
        {{.rootNote = 60}, {.keyTolerance = 0}, 60, true},
        {{.rootNote = 61}, {.keyTolerance = 0}, 60, false},
        {{.rootNote = 60}, {.keyTolerance = -1}, 60, false},
        {{.rootNote = 63}, {.keyTolerance = 2}, 0, true},
        {{.rootNote = 0}, {.keyTolerance = 2}, 60, true},
        {{.contentFileType = 2, .rootNote = 63}, {.keyTolerance = 2}, 60, true},
        {{.rootNote = -kMost - 1}, {.keyTolerance = kMost}, kMost, false},
        {{.rootNote = kMost}, {.keyTolerance = kMost}, 1, true},
        {{.rootNote = 1}, {.keyTolerance = -kMost - 1}, 1, false},
    };
    for (std::size_t row = 0; row < std::size(table); ++row) {
        const auto& [loop, filters, projectKey, isFound] = table[row];
        IndexedLoop one = loop;
        one.path = std::to_string(row);
        one.path.insert(0, 1, '/');
        one.genre = one.path;
        add(*file, one);
        for (const Paths& keys : {Paths{one.genre}, Paths{}}) {
            const Paths found = pathsFound(*file, keys, filters, one.path, projectKey);
            EXPECT_EQ(std::ranges::count(found, one.path), isFound) << "row " << row;
        }
    }
}

TEST_F(IndexSearch, MatchesOneLetterAtTheFrontOfNamesAndMoreAnywhereInPaths) {
    const Paths paths{"/Loops/Ambient/beat.aif", "/Loops/Beat.aif", "/Loops/\xC3\xA9t\xC3\xA9.wav",
                      "/Loops/a\nb.wav", "/Loops/\xFF.wav"};
    for (const std::string& one : paths) add(*file, {.path = one, .genre = "Funk"});
    const struct {
        const char* filter;
        std::vector<std::size_t> found;
    } table[] = {
        {"", {0, 1, 2, 3, 4}},
        {"b", {0, 1}},
        {"B", {0, 1}},
        {"a", {3}},
        {"l", {}},
        {"/", {}},
        {"be", {0, 1}},
        {"AMBIENT/", {0}},
        {"loops", {0, 1, 2, 3, 4}},
        {".wav", {2, 3, 4}},
        {"beat.aiff", {}},
        {"a\nb", {3}},
        {"\xC3\xA9", {2}},  // one character of two bytes
        {"t\xC3\xA9", {2}},
        {"\xFF", {4}},
        {"\xFF.", {4}},
    };
    for (const auto& [filter, found] : table) {
        Paths expected;
        for (const std::size_t i : found) expected.push_back(paths[i]);
        std::ranges::sort(expected);
        EXPECT_EQ(pathsFound(*file, {"Funk"}, {}, filter), expected) << '"' << filter << '"';
    }
    OrganizedSearchResults results;
    const SearchKey funk("Funk");
    EXPECT_EQ(file->search({&funk, 1}, {}, {}, 0, results, false), 5) << "a null filter is none";
}

TEST_F(IndexSearch, BelievesTheRecordsMoreThanTheKeys) {
    add(*file, {.path = "/A", .genre = "Funk"});
    add(*file, {.path = "/B", .genre = "Funk"});
    file->flushChanges();
    const CIndexFileRef other = support::openIndex(path);
    support::rewrite(*other, 1, {.path = "/A", .genre = "Soul"});
    support::setThere(*other, 2, false);
    file->updateSearchKeySet(3, {{"Funk", 3, nullptr}});
    file->updateSearchKeySet(-1, {{"Funk", 3, nullptr}});
    file->updateSearchKeySet(0, {{"Funk", 3, nullptr}});
    EXPECT_EQ(pathsFound(*file, {"Funk"}), Paths{}) << "and no identifier without a record does harm";
    file->removeFile();
}

// Records are delivered from memory only while the file is known to be the one that was read: it is older
// than a tick of the clock then.
TEST_F(IndexSearch, TakesRecordsFromMemoryUntilTheFileChanges) {
    const auto openSettled = [&] {
        using namespace std::chrono_literals;
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - 1h);
        return support::openIndex(path);
    };
    add(*file, {.path = "/A", .genre = "Funk"});
    add(*file, {.path = "/B", .genre = "Soul", .descriptors = {"Dry", "funk"}});
    add(*file, {.path = "/C", .genre = "Soul"});
    file->updateSearchKeySet(3, {{"Funk", 3, nullptr}});  // its record does not say so
    file->flushChanges();
    const CIndexFileRef reader = openSettled();
    EXPECT_EQ(pathsFound(*reader, {"Funk"}), (Paths{"/A", "/B"}));
    EXPECT_EQ(pathsFound(*reader, {}, {}, "b"), (Paths{"/B"}));

    support::rewrite(*file, 1, {.path = "/A", .genre = "Soul"});
    support::rewrite(*file, 2, {.path = "/moved", .genre = "Funk"});
    EXPECT_EQ(pathsFound(*reader, {"Funk"}), (Paths{"/moved"}));
    file->flushChanges();
    EXPECT_EQ(pathsFound(*openSettled(), {"Funk"}), (Paths{"/moved"}));
}

// Files are added in pairs under the mutex: a search beside that never sees half a pair.
TEST_F(IndexSearch, SeesChangesUnderTheMutexWholeOrNotAtAll) {
    file->enableMutexControl(true);
    std::atomic<bool> isDone = false;
    std::thread indexer([&] {
        for (int i = 0; i < 200; ++i) {
            const CIndexingMutexHelper lock(*file);
            for (const char* const side : {"/left ", "/right "})
                add(*file, {.path = side + std::to_string(i), .genre = "Funk"});
            if (i % 50 == 0) file->flushChanges();
        }
        isDone = true;
    });
    const SearchKey funk("Funk");
    int found = 0;
    do {
        OrganizedSearchResults results;
        const bool wasDone = isDone;
        found = file->search({&funk, 1}, {}, {}, 0, results, true);
        EXPECT_EQ(found % 2, 0);
        if (wasDone) break;
    } while (true);
    indexer.join();
    EXPECT_EQ(found, 400);
}

}  // namespace
}  // namespace marl
