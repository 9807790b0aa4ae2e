// SPDX-License-Identifier: MIT
#include "SearchLibrary.h"

#include <MarlCore/foundation/CException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace support {
namespace {

namespace fs = std::filesystem;
using halyard::CException;
using marl::CSearchEngineRef;
using Names = std::set<std::string>;

TEST(SearchEngine, FindsNothingInAnEmptyIndexDirectory) {
    const SearchLibrary library;
    for (const bool exists : {true, false}) {
        if (!exists) fs::remove(library.indexes().path());
        const CSearchEngineRef engine = SearchLibrary::newEngine();
        EXPECT_EQ(engine->indexFileCount(), 0);
        EXPECT_TRUE(engine->getLoadProblems().empty());
        EXPECT_EQ(library.find(*engine, {}), Names{});
        EXPECT_THROW(engine->getIndexFile(0), halyard::CParamException);
        EXPECT_THROW(engine->getIndexFile(-1), halyard::CParamException);
    }
    fs::create_directory(library.indexes().path());
}

TEST(SearchEngine, HasOneIndexDirectory) {
    marl::MCsetIndexDirectoryWithNSString("");
    EXPECT_EQ(marl::MCgetIndexDirectoryAsNSString(), "/Library/Application Support/Orchardine");
    marl::MCsetIndexDirectory(halyard::CSTR("/some/where"));
    EXPECT_EQ(marl::CSearchEngine::getIndexDirectory(), "/some/where");
    EXPECT_THROW(marl::MCsetIndexDirectory({}), halyard::CNullPointerException);
}

TEST(SearchEngine, MakesTheIndexDirectoryInPlaceOfAFile) {
    const TemporaryFolder folder;
    std::ofstream(folder.path("indexes")) << "in the way";
    marl::MCsetIndexDirectoryWithNSString(folder.path("indexes"));
    const CSearchEngineRef engine = SearchLibrary::newEngine();
    const marl::CIndexFileRef file = engine->createIndexFile(folder.path() + "//x/./");
    EXPECT_EQ(file->getRootDirectory(), folder.path() + "/x");
    EXPECT_EQ(engine->findIndexFileForDirectory(folder.path("x/")), file);
    EXPECT_FALSE(engine->findIndexFileForDirectory(folder.path("y")));
    const std::string name = fs::path(file->getFullPath()->getStringRef()).filename();
    EXPECT_TRUE(name.starts_with("Search Index ") && name.ends_with(".txt")) << name;

    marl::MCsetIndexDirectoryWithNSString("/proc/version");
    EXPECT_THROW(engine->createIndexFile("/"), halyard::CParamException);
}

TEST(SearchEngine, LoadsWhatAreIndexFilesAndKeepsTheRest) {
    const SearchLibrary library;
    library.addLoop("a.aif", "Xa");
    const CSearchEngineRef first = SearchLibrary::newEngine();
    library.update(*first);
    const std::string index = first->getIndexFile(0)->getFullPath()->getStringRef();
    const auto name = [&](const char* end) {
        return library.indexes().path(std::string("Search Index ") + end);
    };
    {
        fs::copy_file(index, name("old.txt"));
        marl::CIndexFile old(halyard::CSTR(name("old.txt")), false);
        old.readHeader();
        old.setVersion(1);
    }
    std::ofstream(name("diary.txt")) << std::string(5000, 'd');
    std::ofstream(name("empty.txt"));
    fs::create_symlink("nowhere", name("gone.txt"));
    fs::create_directory(name("folder.txt"));
    ASSERT_EQ(::mkfifo(name("pipe.txt").c_str(), 0600), 0);
    fs::copy_file(index, library.indexes().path("Index.txt"));

    const CSearchEngineRef engine = SearchLibrary::newEngine();
    EXPECT_EQ(engine->indexFileCount(), 1);
    Names told;
    for (const marl::PathProblem& problem : engine->getLoadProblems()) told.insert(problem.path);
    EXPECT_EQ(told, (Names{name("diary.txt"), name("folder.txt"), name("pipe.txt")}));
    EXPECT_FALSE(fs::exists(name("old.txt"))) << "an index of another version";
    for (const char* const end : {"diary.txt", "empty.txt", "folder.txt", "pipe.txt"})
        EXPECT_TRUE(fs::exists(name(end))) << end;
    EXPECT_EQ(library.find(*engine, {"Xa"}), Names{"a.aif"});

    engine->removeIndexFile(engine->getIndexFile(0));
    EXPECT_EQ(engine->indexFileCount(), 0);
    EXPECT_FALSE(fs::exists(index));
    EXPECT_EQ(library.find(*first, {"Xa"}), Names{}) << "deleted by another process";
    engine->createIndexFile(library.root());
    EXPECT_FALSE(fs::exists(name("empty.txt"))) << "left by a process that died";
}

TEST(SearchEngine, SearchesEveryIndexThatIsEnabled) {
    const SearchLibrary library;
    library.addLoop("x/a.aif", "Xa");
    library.addLoop("y/a.aif", "Xa");
    const CSearchEngineRef engine = SearchLibrary::newEngine();
    engine->addDirectory(library.path("x"));
    engine->index1Directory(library.path("y"));
    EXPECT_EQ(library.find(*engine, {"Xa"}), (Names{"x/a.aif", "y/a.aif"}));
    library.update(*engine);
    EXPECT_EQ(engine->indexFileCount(), 3);
    EXPECT_EQ(library.find(*engine, {"Xa"}), (Names{"x/a.aif", "y/a.aif"})) << "each file once";
    engine->removeIndexFile(engine->findIndexFileForDirectory(library.root()));
    engine->findIndexFileForDirectory(library.path("x"))->setEnabled(false);
    EXPECT_EQ(library.find(*engine, {"Xa"}), Names{"y/a.aif"});
    std::vector<marl::KeywordCount> keywords;
    engine->generateKeywordList(keywords);
    // The path of the temporary folder may hold words of the dictionary.
    const auto genre =
        std::ranges::find(keywords, marl::SearchKey("xA"), [](const auto& one) { return one.keyword.key; });
    ASSERT_NE(genre, keywords.end());
    EXPECT_EQ(genre->keyword.category, marl::SearchKeyInfo::kGenre) << "which no dictionary says";
    EXPECT_EQ(genre->files, 1);
}

}  // namespace
}  // namespace support
