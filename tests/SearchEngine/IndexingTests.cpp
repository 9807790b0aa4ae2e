// SPDX-License-Identifier: MIT
/// What passes do to an index while the folder changes.
#include "SearchLibrary.h"

#include <MarlCore/foundation/CException.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

namespace support {
namespace {

namespace fs = std::filesystem;
using halyard::CException;
using marl::CSearchEngineRef;
using marl::IndexingState;
using marl::SearchIndexingStatus;
using Names = std::set<std::string>;

/// Added, updated, unchanged, returned, gone, refused.
std::vector<int> counts(const SearchIndexingStatus& status) {
    return {status.filesAdded,    status.filesUpdated, status.filesUnchanged,
            status.filesReturned, status.filesGone,    status.filesRefused};
}
using Counts = std::vector<int>;

std::int32_t fileIDOf(marl::CSearchEngine& engine, const std::string& key) {
    marl::OrganizedSearchResults results;
    const marl::SearchKey searchKey(key);
    engine.search({&searchKey, 1}, {}, {}, 0, results, true);
    return results.files().size() == 1 ? results.files().front()->getFileID() : 0;
}

class Indexing : public testing::Test {
protected:
    SearchLibrary m_library;
    CSearchEngineRef m_engine = SearchLibrary::newEngine();
};

TEST_F(Indexing, FollowsEveryChange) {
    m_library.addLoop("a/one.aif", "Xone");
    m_library.addLoop("b/two.aif", "Xtwo", {"Xmany"});
    m_library.addLoop("b/three.aif", "Xthree", {"Xmany"});
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{3, 0, 0, 0, 0, 0}));
    EXPECT_EQ(m_library.find(*m_engine, {"xMANY"}), (Names{"b/two.aif", "b/three.aif"}));
    EXPECT_EQ(m_library.find(*m_engine, {"Xmany", "Xtwo"}), (Names{"b/two.aif"}));
    EXPECT_EQ(m_library.find(*m_engine, {"Xmany", "Xone"}), Names{});
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 0, 3, 0, 0, 0}));
    const std::int32_t two = fileIDOf(*m_engine, "Xtwo");

    m_library.addLoop("b/two.aif", "Xchanged", {}, -5);  // another file under the old name
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 1, 2, 0, 0, 0}));
    EXPECT_EQ(m_library.find(*m_engine, {"Xtwo"}), Names{});
    EXPECT_EQ(m_library.find(*m_engine, {"Xmany"}), Names{"b/three.aif"});
    EXPECT_EQ(fileIDOf(*m_engine, "Xchanged"), two);
    SearchLibrary::setAge(m_library.path("b/two.aif"), 100);

    fs::rename(m_library.path("b/three.aif"), m_library.path("away"));
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 0, 2, 0, 1, 0}));
    EXPECT_EQ(m_library.find(*m_engine, {"Xmany"}), Names{});
    const std::int32_t lastID = m_engine->getIndexFile(0)->getFileCount();
    fs::rename(m_library.path("away"), m_library.path("b/three.aif"));
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 0, 2, 1, 0, 0}));
    EXPECT_EQ(m_library.find(*m_engine, {"Xmany"}), Names{"b/three.aif"});
    EXPECT_EQ(m_engine->getIndexFile(0)->getFileCount(), lastID);

    fs::rename(m_library.path("a"), m_library.path("c"));
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{1, 0, 2, 0, 1, 0}));
    EXPECT_EQ(m_library.find(*m_engine, {"Xone"}), Names{"c/one.aif"});
    EXPECT_EQ(fileIDOf(*m_engine, "Xone"), lastID + 1);

    // Another process finds the same.
    const CSearchEngineRef other = SearchLibrary::newEngine();
    EXPECT_EQ(m_library.find(*other, {}), (Names{"b/three.aif", "b/two.aif", "c/one.aif"}));
    EXPECT_EQ(m_library.find(*other, {"Xchanged"}), Names{"b/two.aif"});
    EXPECT_EQ(other->getIndexFile(0)->getState(), marl::kIndexIsComplete);
}

TEST_F(Indexing, SeesAChangeWithinTheSecondOfThePass) {
    m_library.addLoop("a.aif", "Xold", {}, 0);
    m_library.update(*m_engine);
    m_library.addLoop("a.aif", "Xnew", {}, 0);
    m_library.update(*m_engine);
    EXPECT_EQ(m_library.find(*m_engine, {"Xnew"}), Names{"a.aif"});
}

TEST_F(Indexing, ReportsWhatItCannotReadAndGoesOn) {
    m_library.addLoop("good.aif", "Xgood");
    m_library.addLoop("turns bad.aif", "Xbad");
    m_library.addLoop("turns folder.aif", "Xfolder");
    std::ofstream(m_library.path("text.wav")) << "no sound";
    std::ofstream(m_library.path("empty.aiff"));
    std::ofstream(m_library.path("readme.txt")) << "not offered";
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{3, 0, 0, 0, 0, 2}));

    std::ofstream(m_library.path("turns bad.aif"), std::ios::trunc) << "damaged";
    SearchLibrary::setAge(m_library.path("turns bad.aif"), -5);
    fs::remove(m_library.path("turns folder.aif"));
    fs::create_directory(m_library.path("turns folder.aif"));
    IndexingState state;
    m_engine->index(m_engine->getIndexFile(0), state);
    EXPECT_EQ(counts(state.status), (Counts{0, 0, 1, 0, 1, 3}));
    Names refused;
    for (const marl::PathProblem& problem : state.problems) {
        refused.insert(fs::path(problem.path).filename());
        EXPECT_NE(problem.reason, "");
    }
    EXPECT_EQ(refused, (Names{"empty.aiff", "text.wav", "turns bad.aif"}));
    EXPECT_EQ(m_library.find(*m_engine, {}), Names{"good.aif"});

    m_library.addLoop("turns bad.aif", "Xbad", {}, -6);
    m_library.update(*m_engine);
    EXPECT_EQ(m_library.find(*m_engine, {"Xbad"}), Names{"turns bad.aif"});
}

TEST_F(Indexing, TakesAFolderThatCannotBeReadForNoEvidence) {
    m_library.addLoop("sub/a.aif", "Xa");
    m_library.addLoop("subway.aif", "Xa");
    m_library.update(*m_engine);
    const marl::CIndexFileRef file = m_engine->getIndexFile(0);
    const std::string away = m_library.root() + "-away";

    fs::rename(m_library.root(), away);
    for (const bool isFile : {false, true}) {
        if (isFile) std::ofstream(m_library.root()) << "in its place";
        IndexingState state;
        try {
            m_engine->index(file, state);
            ADD_FAILURE() << "indexed a folder that is not there";
        } catch (const CException& exception) {
            EXPECT_EQ(exception.getCode(), isFile ? ENOTDIR : ENOENT);
            EXPECT_NE(exception.getMessage().find(m_library.root()), std::string::npos);
        }
        EXPECT_EQ(m_library.find(*m_engine, {"Xa"}), (Names{"sub/a.aif", "subway.aif"}));
    }
    fs::remove(m_library.root());
    fs::rename(away, m_library.root());

    // Nor does one below it, which a link leads to: on a drive, say.
    fs::rename(m_library.path("sub"), away);
    fs::create_symlink(away, m_library.path("sub"));
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 0, 2, 0, 0, 0}));
    fs::remove_all(away);
    fs::remove(m_library.path("subway.aif"));
    const SearchIndexingStatus status = m_library.update(*m_engine);
    EXPECT_EQ(status.filesKept, 1);
    EXPECT_EQ(status.filesGone, 1);
    EXPECT_EQ(m_library.find(*m_engine, {"Xa"}), Names{"sub/a.aif"});

    // An empty folder that can be read is evidence.
    fs::create_directory(away);
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 0, 0, 0, 1, 0}));
    EXPECT_EQ(m_library.find(*m_engine, {}), Names{});
    fs::remove(away);
}

TEST_F(Indexing, FollowsLinksAndListsEachFileOnce) {
    m_library.addLoop("real/a.aif", "Xa");
    const TemporaryFolder elsewhere;
    fs::copy(m_library.path("real/a.aif"), elsewhere.path("b.aif"));
    fs::create_directory(m_library.path("0"));
    fs::create_symlink(m_library.path("real"), m_library.path("0/linked folder"));
    fs::create_symlink(m_library.path("real/a.aif"), m_library.path("0/a.aif"));
    fs::create_symlink(elsewhere.path(), m_library.path("elsewhere"));
    fs::create_symlink(elsewhere.path("b.aif"), m_library.path("z.aif"));
    fs::create_symlink("..", m_library.path("real/up"));
    fs::create_symlink("nowhere", m_library.path("dangling.aif"));
    fs::create_symlink("itself", m_library.path("itself"));
    const SearchIndexingStatus status = m_library.update(*m_engine);
    EXPECT_EQ(m_library.find(*m_engine, {}), (Names{"real/a.aif", "elsewhere/b.aif"}));
    EXPECT_EQ(status.danglingLinks, 2);
}

TEST_F(Indexing, TakesPathsForBytes) {
    const Names names = {"caf\xE9.aif", "two\nlines.aif", std::string(251, 'n') + ".aif", " .aif"};
    for (const std::string& name : names) m_library.addLoop(name, "Xa");
    m_library.addLoop("._companion.aif", "Xa");
    m_library.update(*m_engine);
    EXPECT_EQ(m_library.find(*m_engine, {"Xa"}), names);
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 0, 4, 0, 0, 0}));
}

TEST_F(Indexing, TakesPathsUpToTheLengthThatARecordHolds) {
    // Files are made relative to a folder far down, since the whole path is close to what the system takes.
    std::string folder;
    while (m_library.root().size() + folder.size() < 750) folder += std::string(200, 'd') + "/";
    for (const std::size_t length : {1022U, 1023U, 1024U, 1025U}) {
        const std::size_t left = length - m_library.root().size() - 1 - folder.size();
        m_library.addLoop(folder + std::string(left - 4, 'n') + ".aif", std::to_string(length) + "X");
    }
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{2, 0, 0, 0, 0, 2}));
    EXPECT_EQ(m_library.find(*m_engine, {"1023X"}).size(), 1U);
    EXPECT_EQ(m_library.find(*m_engine, {}).size(), 2U);
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{0, 0, 2, 0, 0, 2}));
}

TEST_F(Indexing, KeepsWhatAStoppedPassHasFound) {
    constexpr int kFiles = 200;
    for (int i = 0; i < kFiles; ++i) m_library.addLoop(std::to_string(i) + ".aif", "Xa");
    const marl::CIndexFileRef file = m_engine->createIndexFile(m_library.root());
    IndexingState state;
    int batches = 0;
    m_engine->index(file, state, [&](const SearchIndexingStatus&) { return ++batches < 2; });
    EXPECT_EQ(state.status.filesAdded, 2 * state.batchLimit);
    EXPECT_FALSE(state.status.isComplete);
    const CSearchEngineRef other = SearchLibrary::newEngine();
    EXPECT_EQ(other->getIndexFile(0)->getState(), marl::kIndexIsIncomplete);
    EXPECT_EQ(m_library.find(*other, {"Xa"}).size(), 2U * static_cast<unsigned>(state.batchLimit));
    EXPECT_EQ(m_library.update(*m_engine).filesAdded, kFiles - 2 * state.batchLimit);
    EXPECT_EQ(m_library.find(*other, {"Xa"}).size(), static_cast<std::size_t>(kFiles));
    EXPECT_EQ(other->getIndexFile(0)->getState(), marl::kIndexIsComplete);
}

TEST_F(Indexing, StoresManyFilesOnTheWay) {
    constexpr std::size_t kFiles = 5000;  // more than are kept in memory
    for (std::size_t i = 0; i < kFiles; ++i) m_library.addLoop(std::to_string(i) + ".aif", "Xa");
    const marl::CIndexFileRef file = m_engine->createIndexFile(m_library.root());
    const CSearchEngineRef other = SearchLibrary::newEngine();
    IndexingState state;
    std::size_t seen = 0;
    m_engine->index(file, state, [&](const SearchIndexingStatus& status) {
        const std::size_t found = m_library.find(*other, {"Xa"}).size();
        EXPECT_GE(found, seen);
        EXPECT_LE(found, static_cast<std::size_t>(status.filesAdded));
        seen = found;
        return true;
    });
    EXPECT_GT(seen, 0U) << "nothing could be searched during the pass";
    EXPECT_EQ(m_library.find(*other, {"Xa"}).size(), kFiles);
    EXPECT_EQ(SearchLibrary::newEngine()->getIndexFile(0)->getState(), marl::kIndexIsComplete);
}

TEST_F(Indexing, HealsKeysThatRecordsDoNotCarry) {
    m_library.addLoop("a.aif", "Xa");
    m_library.addLoop("b.aif", "Xb");
    m_library.update(*m_engine);
    {  // As a pass leaves it that is killed between a record and the keys.
        marl::CIndexFile file(m_engine->getIndexFile(0)->getFullPath(), false);
        file.readHeader();
        file.readSearchKeySet();
        std::set<marl::SearchKeyInfo> keys;
        marl::CFileIndexInfo record(m_library.path("a.aif").c_str(),
                                    {marl::SearchKeyInfo("Xnew", marl::SearchKeyInfo::kGenre, nullptr)},
                                    keys);
        record.setFileID(1);
        const int descriptor = ::open(file.getFullPath()->getCharPtr(), O_WRONLY | O_CLOEXEC);
        record.writeAt(descriptor, marl::CIndexFileHeader::kSize);
        ::close(descriptor);
    }
    const CSearchEngineRef other = SearchLibrary::newEngine();
    EXPECT_EQ(m_library.find(*other, {"Xa"}), Names{}) << "its record says otherwise";
    EXPECT_EQ(counts(m_library.update(*other)), (Counts{0, 0, 2, 0, 0, 0}));
    EXPECT_EQ(m_library.find(*other, {"Xnew"}), Names{"a.aif"});
    EXPECT_EQ(m_library.find(*m_engine, {"Xnew"}), Names{"a.aif"});
    EXPECT_EQ(m_library.find(*m_engine, {"Xb"}), Names{"b.aif"});
}

TEST_F(Indexing, LeavesADamagedIndexAlone) {
    m_library.addLoop("a.aif", "Xa");
    m_library.update(*m_engine);
    const std::string path = m_engine->getIndexFile(0)->getFullPath()->getStringRef();
    m_engine = {};
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4).put('x');  // of the integrity flag
    }
    m_engine = SearchLibrary::newEngine();
    ASSERT_EQ(m_engine->indexFileCount(), 1);
    EXPECT_EQ(m_engine->getIndexFile(0)->getState(), marl::kIndexIsDamaged);
    m_engine->updateIndex(m_engine->getIndexFile(0), false);
    EXPECT_EQ(m_engine->getIndexFile(0)->getState(), marl::kIndexIsDamaged);
    EXPECT_EQ(m_library.find(*m_engine, {}), Names{});
    std::vector<marl::KeywordCount> keywords;
    m_engine->generateKeywordList(keywords);
    EXPECT_TRUE(keywords.empty());
}

TEST_F(Indexing, DoesNotWriteIntoAnIndexThatAnotherProcessHasRemoved) {
    m_library.addLoop("a.aif", "Xa");
    m_library.update(*m_engine);
    const CSearchEngineRef other = SearchLibrary::newEngine();
    other->removeIndexFile(other->getIndexFile(0));
    IndexingState state;
    try {
        m_engine->index(m_engine->getIndexFile(0), state);
        ADD_FAILURE() << "the pass went into a file without a name";
    } catch (const CException& exception) {
        EXPECT_EQ(exception.getCode(), ESTALE);
    }
    EXPECT_EQ(counts(m_library.update(*m_engine)), (Counts{1, 0, 0, 0, 0, 0})) << "but into a new one";
    EXPECT_EQ(m_engine->indexFileCount(), 1);
}

TEST_F(Indexing, KeepsSwitchingOffApartFromWhatOthersWrite) {
    m_library.addLoop("a.aif", "Xa");
    m_library.update(*m_engine);
    const CSearchEngineRef other = SearchLibrary::newEngine();
    m_library.addLoop("b.aif", "Xa");
    m_library.update(*other);
    m_engine->enableIndexFile(m_engine->getIndexFile(0), false);
    EXPECT_EQ(m_library.find(*other, {}), Names{});
    other->enableIndexFile(other->getIndexFile(0), true);
    EXPECT_EQ(m_library.find(*m_engine, {"Xa"}), (Names{"a.aif", "b.aif"}));
}

TEST_F(Indexing, IsNotCompleteWhenItsListingWasCutShort) {
    m_library.addLoop("a.aif", "Xa");
    const marl::CIndexFileRef file = m_engine->createIndexFile(m_library.root());
    IndexingState state;
    state.cancelled = true;
    m_engine->index(file, state);
    EXPECT_FALSE(state.status.isComplete);
    EXPECT_EQ(file->getState(), marl::kIndexIsIncomplete);
    EXPECT_EQ(SearchLibrary::newEngine()->getIndexFile(0)->getState(), marl::kIndexIsIncomplete);
}

TEST_F(Indexing, IsCompleteOnDiskEvenWhenNothingWasFound) {
    m_library.update(*m_engine);
    EXPECT_EQ(SearchLibrary::newEngine()->getIndexFile(0)->getState(), marl::kIndexIsComplete);
}

TEST_F(Indexing, HappensOnceAtATime) {
    m_library.addLoop("a.aif", "Xa");
    const marl::CIndexFileRef file = m_engine->createIndexFile(m_library.root());
    IndexingState state, second;
    m_engine->startIndexing(file, state);
    EXPECT_THROW(m_engine->startIndexing(file, second), halyard::CException);
    EXPECT_THROW(m_engine->removeIndexFile(file), halyard::CException);
    m_engine->indexOnce(state);
    m_engine->finishIndexing(state);
    EXPECT_EQ(m_library.find(*m_engine, {"Xa"}).size(), 1U);
    m_engine->removeIndexFile(file);
    EXPECT_EQ(m_engine->indexFileCount(), 0);
}

TEST_F(Indexing, RunsInTheBackground) {
    for (int i = 0; i < 500; ++i) m_library.addLoop(std::to_string(i) + ".aif", "Xa");
    const marl::CIndexFileRef file = m_engine->createIndexFile(m_library.root());
    SearchIndexingStatus status;
    EXPECT_FALSE(m_engine->getBackgroundStatus(status));
    m_engine->updateIndex(file, true);
    m_engine->stopBackgroundIndexing();
    ASSERT_TRUE(m_engine->getBackgroundStatus(status));
    EXPECT_TRUE(status.isFinished) << "even if it had not begun";
    const auto keptWhenStopped = static_cast<std::size_t>(status.filesAdded);
    EXPECT_EQ(m_library.find(*m_engine, {"Xa"}).size(), keptWhenStopped);

    m_engine->updateIndex(file, true);
    while (!m_engine->backgroundIndexCompleted()) {
        ASSERT_TRUE(m_engine->getBackgroundStatus(status));
        ASSERT_EQ(status.error, "");
        m_library.find(*m_engine, {"Xa"});
        std::vector<marl::KeywordCount> keywords;
        m_engine->generateKeywordList(keywords);
        EXPECT_EQ(m_engine->createIndexFile(m_library.root()), file);
        std::this_thread::yield();
    }
    EXPECT_EQ(m_library.find(*m_engine, {"Xa"}).size(), 500U);

    fs::remove_all(m_library.root());
    m_engine->updateIndex(file, true);
    while (m_engine->getBackgroundStatus(status) && !status.isFinished) std::this_thread::yield();
    EXPECT_NE(status.error, "");
    EXPECT_FALSE(m_engine->backgroundIndexCompleted());
    EXPECT_EQ(m_library.find(*m_engine, {"Xa"}).size(), 500U);
    fs::create_directory(m_library.root());
}

}  // namespace
}  // namespace support
