// SPDX-License-Identifier: MIT
#include <tools/marl/Index.h>
#include <tools/marl/IndexDirectory.h>
#include <tools/marl/Output.h>
#include <tools/marl/Search.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "SearchEngine/SearchLibrary.h"
#include "support/EnvironmentVariable.h"

namespace marl::tool {
namespace {

namespace fs = std::filesystem;
using support::EnvironmentVariable;
using support::SearchLibrary;
using Counts = std::vector<int>;
using Paths = std::vector<std::string>;

struct Outcome {
    int status;
    std::string out, err;
};

class Index : public testing::Test {
protected:
    Outcome index(const Paths& folders, bool rebuild = false, bool isProgressShown = false) const {
        std::ostringstream out, err;
        const int status = runIndex({.indexDirectory = m_library.indexes().path(),
                                     .rebuild = rebuild,
                                     .isProgressShown = isProgressShown,
                                     .folders = folders},
                                    out, err);
        return {status, out.str(), err.str()};
    }
    Outcome index() const { return index({m_library.root()}); }

    Outcome list() const {
        std::ostringstream out, err;
        const int status = runIndexList(m_library.indexes().path(), out, err);
        return {status, out.str(), err.str()};
    }

    Outcome remove(const std::string& folder) const {
        std::ostringstream out, err;
        const int status = runIndexRemove(m_library.indexes().path(), folder, out, err);
        return {status, out.str(), err.str()};
    }

    /// What a search for everything prints on `err`, and the paths that it finds.
    std::pair<std::string, Paths> found() const {
        std::ostringstream out, err;
        EXPECT_EQ(runSearch({.indexDirectory = m_library.indexes().path(), .json = true}, out, err), kDone);
        Paths paths;
        const json object = json::parse(out.str());
        for (const json& result : object["results"]) paths.push_back(result["path"]);
        return {err.str(), paths};
    }

    SearchLibrary m_library;
};

/// Added, updated, unchanged, gone, back, refused: the first columns of row `row`, 1 being the first.
Counts counts(const std::string& table, int row = 1) {
    std::istringstream lines(table);
    std::string line;
    for (int i = 0; i <= row; ++i) std::getline(lines, line);
    std::istringstream cells(line);
    Counts numbers(6);
    for (int& number : numbers) cells >> number;
    return numbers;
}

std::string contentsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string onlyFileIn(const std::string& folder) {
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
    return fs::directory_iterator(folder)->path();
}

TEST_F(Index, TellsWhatAPassHasFound) {
    m_library.addLoop("a.aif", "Xa");
    m_library.addLoop("b/b.aif", "Xb");
    const Outcome first = index();
    EXPECT_EQ(first.status, kDone);
    EXPECT_EQ(first.err, "");
    EXPECT_TRUE(first.out.starts_with("  added updated unchanged    gone    back refused  seconds folder\n"))
        << first.out;
    EXPECT_TRUE(first.out.ends_with(" " + m_library.root() + "\n")) << first.out;
    EXPECT_EQ(counts(first.out), (Counts{2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(counts(index().out), (Counts{0, 0, 2, 0, 0, 0}));
    fs::rename(m_library.path("a.aif"), m_library.path("a.away"));
    m_library.addLoop("b/b.aif", "Xc", {}, -5);
    EXPECT_EQ(counts(index().out), (Counts{0, 1, 0, 1, 0, 0}));
    SearchLibrary::setAge(m_library.path("b/b.aif"), 100);
    fs::rename(m_library.path("a.away"), m_library.path("a.aif"));
    EXPECT_EQ(counts(index().out), (Counts{0, 0, 1, 0, 1, 0}));
    EXPECT_EQ(counts(index({m_library.root()}, true).out), (Counts{2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(found().second, (Paths{m_library.path("a.aif"), m_library.path("b/b.aif")}));
    onlyFileIn(m_library.indexes().path());
}

TEST_F(Index, TellsWhatItRefusesAndSucceeds) {
    m_library.addLoop("good.aif", "Xa");
    std::ofstream(m_library.path("bad.wav")) << "RIFF";
    fs::create_symlink("nowhere", m_library.path("dangling"));
    fs::create_symlink(".", m_library.path("loop"));
    testing::internal::CaptureStdout();  // of the library
    const Outcome outcome = index();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(outcome.status, kDone);
    EXPECT_EQ(outcome.err, "marl: " + m_library.path("bad.wav") +
                               ": not a WAV file: couldn't find RIFF tag\nmarl: " + m_library.root() +
                               ": note: 1 dangling link\n");
    EXPECT_EQ(counts(outcome.out), (Counts{1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(found().second, Paths{m_library.path("good.aif")});
}

TEST_F(Index, DoesTheOtherFoldersWhenOneCannotBeRead) {
    m_library.addLoop("here/a.aif", "Xa");
    const std::string tooLong = "/" + std::string(1024, 'x');
    const struct {
        std::string folder, said;
    } kRows[] = {{m_library.path("missing"), "/missing: cannot be indexed: No such file or directory\n"},
                 {m_library.path("here/a.aif"), "/here/a.aif: cannot be indexed: Not a directory\n"},
                 {tooLong, "x: cannot be indexed: File name too long\n"},
                 {"", "marl: '': is no folder\n"}};
    for (const auto& row : kRows) {
        const Outcome outcome = index({row.folder, m_library.path("here")});
        EXPECT_EQ(outcome.status, kFailed);
        EXPECT_TRUE(outcome.err.ends_with(row.said)) << outcome.err;
        EXPECT_EQ(found().second, Paths{m_library.path("here/a.aif")});
        onlyFileIn(m_library.indexes().path());
    }
}

TEST_F(Index, PrintsAPathAsTerminalsTakeIt) {
    m_library.addLoop("odd \n\xFE/a.aif", "Xa");
    const Outcome outcome = index({m_library.path("odd \n\xFE") + "///"});
    EXPECT_EQ(counts(outcome.out), (Counts{1, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(outcome.out.ends_with("/odd \\x0A\\xFE\n")) << outcome.out;
}

TEST_F(Index, TellsOfFoldersWithinFolders) {
    m_library.addLoop("a/b/c.aif", "Xa");
    const std::string outer = m_library.path("a"), inner = m_library.path("a/b"),
                      same = m_library.path("a/ b");
    const auto note = [](const std::string& in, const std::string& out) {
        return "marl: " + in + ": note: is in " + out + ", which is indexed too\n";
    };
    m_library.addLoop("a/bb/c.aif", "Xa");
    EXPECT_EQ(index({inner, m_library.path("a/bb")}).err, "");
    EXPECT_EQ(index({outer}).err, note(inner, outer) + note(m_library.path("a/bb"), outer));
    EXPECT_EQ(index({inner}).err, note(inner, outer));
    fs::create_directory_symlink("b", same);
    EXPECT_EQ(index({same}).err, note(same, outer) + note(same, inner) + note(inner, same));
}

TEST_F(Index, ListsAndRemoves) {
    const std::string indexes = m_library.indexes().path();
    EXPECT_EQ(list().out, "no folders are indexed in " + indexes + "\n");
    m_library.addLoop("one/a.aif", "Xa");
    m_library.addLoop("two/b.aif", "Xb");
    m_library.addLoop("two/c.aif", "Xb");
    index({m_library.path("one"), m_library.path("two/../two/.")});
    const Outcome listed = list();
    EXPECT_EQ(listed.status, kDone);
    EXPECT_NE(listed.out.find("       1 complete      Search Index "), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find(" " + m_library.path("two") + "\n"), std::string::npos) << listed.out;
    EXPECT_TRUE(listed.out.ends_with("2 folders, indexed in " + indexes + "\n")) << listed.out;

    EXPECT_EQ(remove(m_library.root()).err, "marl: " + m_library.root() + ": is not indexed\n");
    EXPECT_EQ(remove(m_library.root()).status, kFailed);
    fs::remove_all(m_library.path("one"));
    EXPECT_EQ(remove(m_library.path("one/")).status, kDone);
    EXPECT_EQ(found().second, (Paths{m_library.path("two/b.aif"), m_library.path("two/c.aif")}));
}

TEST_F(Index, MakesADamagedIndexAgain) {
    for (int i = 0; i < 3; ++i) m_library.addLoop(std::to_string(i) + ".aif", "Xa");
    index();
    const std::string whole = contentsOf(onlyFileIn(m_library.indexes().path()));
    const struct {
        const char* name;
        std::string contents;
    } kRows[] = {{"not closed cleanly", std::string(whole).replace(4, 4, 4, '\0')},
                 {"cut off in the records", whole.substr(0, 2000)},
                 {"cut off in the keys", whole.substr(0, whole.size() - 60)}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        std::ofstream(onlyFileIn(m_library.indexes().path()), std::ios::binary | std::ios::trunc)
            << row.contents;
        EXPECT_NE(list().out.find("damaged"), std::string::npos) << list().out;
        EXPECT_EQ(found(), std::pair("marl: " + m_library.root() +
                                         ": note: its index is damaged and not searched: 'marl index' makes "
                                         "it again\n",
                                     Paths{}));
        const Outcome outcome = index();
        EXPECT_EQ(outcome.status, kDone);
        EXPECT_EQ(outcome.err, "marl: " + m_library.root() +
                                   ": note: its index is damaged, and is made again from the audio files\n");
        EXPECT_EQ(counts(outcome.out), (Counts{3, 0, 0, 0, 0, 0}));
        EXPECT_EQ(found().second.size(), 3U);
    }
}

TEST_F(Index, LeavesFilesThatAreNoIndexAlone) {
    m_library.addLoop("a.aif", "Xa");
    const std::string foreign = m_library.indexes().write("Search Index of my books.txt", "A, B, C");
    const Outcome outcome = index();
    EXPECT_EQ(outcome.status, kDone);
    EXPECT_TRUE(outcome.err.starts_with("marl: " + foreign + ": ")) << outcome.err;
    EXPECT_EQ(contentsOf(foreign), "A, B, C");

    std::ostringstream out, err;
    EXPECT_EQ(runIndex({.indexDirectory = foreign, .folders = {m_library.root()}}, out, err), kFailed);
    EXPECT_EQ(err.str(), "marl: " + foreign + ": cannot be used: Not a directory\n");
    EXPECT_EQ(contentsOf(foreign), "A, B, C");
}

TEST_F(Index, BlamesTheIndexesWhereTheyCannotBeWritten) {
    m_library.addLoop("one/a.aif", "Xa");
    m_library.addLoop("two/b.aif", "Xb");
    const std::string below = m_library.path("one/a.aif") + "/indexes";
    std::ostringstream out, err;
    const Paths folders{m_library.path("one"), m_library.path("two"), m_library.path("three")};
    EXPECT_EQ(runIndex({.indexDirectory = below, .folders = folders}, out, err), kFailed);
    EXPECT_EQ(err.str(), "marl: " + below + ": Not a directory\nmarl: " + below +
                             ": indexes cannot be written: Not a directory\nmarl: " + folders[2] +
                             ": cannot be indexed: No such file or directory\n");
}

TEST_F(Index, WaitsForNobody) {
    m_library.addLoop("a.aif", "Xa");
    const CSearchEngineRef other = SearchLibrary::newEngine();
    IndexingState state;
    other->startIndexing(other->createIndexFile(m_library.root()), state);
    const std::string busy = "marl: " + m_library.root() + ": another process is indexing it\n";
    for (const bool rebuild : {false, true}) {
        const Outcome outcome = index({m_library.root()}, rebuild);
        EXPECT_EQ(outcome.status, kFailed);
        EXPECT_EQ(outcome.err, busy);
    }
    EXPECT_NE(list().out.find("being indexed"), std::string::npos);
    EXPECT_EQ(remove(m_library.root()).status, kFailed);
    EXPECT_EQ(found().first,
              "marl: " + m_library.root() + ": note: its index is still being made, nothing is found yet\n");
    while (other->indexOnce(state)) {
    }
    other->finishIndexing(state);
    EXPECT_EQ(counts(index().out), (Counts{0, 0, 1, 0, 0, 0}));
}

TEST_F(Index, ShowsProgressOnATerminalOnly) {
    for (int i = 0; i < 100; ++i) m_library.addLoop(std::to_string(i) + ".aif", "Xa");
    EXPECT_EQ(index().err, "");
    const std::string shown = index({m_library.root()}, true, true).err;
    EXPECT_NE(shown.find(fs::path(m_library.root()).filename()), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("\r\033[K")) << shown;  // nothing of it stays
    EXPECT_EQ(shown.find("\033[3"), std::string::npos) << "colour";
}

TEST(IndexDirectory, IsChosenByOptionThenEnvironment) {
    const struct {
        const char *option, *own, *data, *home, *chosen;
    } kRows[] = {{"/o/", "/m", "/x", "/h", "/o"},
                 {"", "/m/./i", "/x", "/h", "/m/i"},
                 {"", nullptr, "/x", "/h", "/x/marlcore/indexes"},
                 {"", "", "x", "/h", "/h/.local/share/marlcore/indexes"},
                 {"", nullptr, nullptr, "/h", "/h/.local/share/marlcore/indexes"}};
    for (const auto& row : kRows) {
        const EnvironmentVariable own("MARL_INDEX_DIR", row.own), data("XDG_DATA_HOME", row.data),
            home("HOME", row.home);
        EXPECT_EQ(indexDirectoryOf(row.option), row.chosen);
    }
    const EnvironmentVariable own("MARL_INDEX_DIR", nullptr), data("XDG_DATA_HOME", nullptr),
        home("HOME", nullptr);
    std::ostringstream err;
    EXPECT_FALSE(openIndexes("", err));
    EXPECT_TRUE(err.str().starts_with("marl: the indexes: where?")) << err.str();
}

TEST(IndexDirectory, MakesRootsAbsolute) {
    const support::TemporaryFolder folder;
    fs::create_directories(folder.path("real/inner"));
    fs::create_directory_symlink(folder.path("real/inner"), folder.path("link"));
    EXPECT_EQ(indexRootOf("/"), "/");
    EXPECT_EQ(indexRootOf("/a//b/./"), "/a/b");
    EXPECT_EQ(indexRootOf("x"), fs::current_path().string() + "/x");
    EXPECT_EQ(indexRootOf(folder.path("link")), folder.path("link"));
    EXPECT_EQ(indexRootOf(folder.path("link/..")), folder.path("real"));
}

}  // namespace
}  // namespace marl::tool
