// SPDX-License-Identifier: MIT
/// \file
/// Finds loops: owns the indexes of folders, brings them up to date and searches them.
#pragma once

#include <MarlCore/SearchEngine/CFileIndexer.h>
#include <MarlCore/SearchEngine/CIndexFile.h>
#include <MarlCore/SearchEngine/IndexingState.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace marl {

class CIndexingThread;

/// The folder that holds the index files, for the whole process; "/Library/Application Support/Orchardine"
/// until it is set. [any thread]
MARLCORE_EXPORT void MCsetIndexDirectoryWithNSString(const std::string& path);
MARLCORE_EXPORT void MCsetIndexDirectory(const halyard::CStringRef& path);
MARLCORE_EXPORT std::string MCgetIndexDirectoryAsNSString();

/// A keyword with the number of files that carry it.
struct KeywordCount {
    SearchKeyInfo keyword;
    int files = 0;
};

/// Used by one thread at a time, beside which its own indexing thread may run. Every member throws
/// `CException` (file error, the code is errno) for what the system refuses.
class MARLCORE_EXPORT CSearchEngine : public halyard::CSharedObject {
public:
    /// Throws what `CFileIndexer` throws when the keyword dictionary is missing.
    static halyard::CSharedObjectRef<CSearchEngine> New();
    ~CSearchEngine() override;

    static std::string getIndexDirectory() { return MCgetIndexDirectoryAsNSString(); }

    CFileIndexer& getFileIndexer() noexcept { return m_fileIndexer; }

    /// Loads the index files of the index directory that are not loaded yet: those whose names contain
    /// "Search Index " and ".txt". Drops those that other processes have deleted. Damaged ones are loaded
    /// without keys. Index files of another version are deleted. Files that cannot be opened are left out,
    /// and told by `getLoadProblems`; so are those that are not index files at all. Empty files, and those
    /// that go meanwhile, are left out without a word: other processes are at them.
    void loadIndexFiles();
    const std::vector<PathProblem>& getLoadProblems() const noexcept { return m_loadProblems; }

    /// Creates an index for a folder, and the index directory where it is missing. Throws `CParamException`
    /// when something else stands in its place and cannot be removed.
    CIndexFileRef createIndexFile(const std::string& rootDirectory);
    /// The loaded index of a folder, or null.
    CIndexFileRef findIndexFileForDirectory(const std::string& path) const;
    /// Deletes an index. Throws `CException` (file error) while another process brings it up to date.
    void removeIndexFile(const CIndexFileRef& file);

    /// Lets searches look into an index, or not, for every process. Throws as `removeIndexFile`.
    void enableIndexFile(const CIndexFileRef& file, bool enable);

    int indexFileCount() const noexcept { return static_cast<int>(m_indexFiles.size()); }
    /// In the order of their paths. Throws `CParamException` for a number that none has.
    CIndexFileRef getIndexFile(int number) const;

    /// Finds or creates the index of a folder, and brings it up to date in the calling thread.
    void index1Directory(const std::string& path);
    void addDirectory(const std::string& path) { index1Directory(path); }

    /// Brings an index up to date, in the calling thread or in the background. A damaged one is left alone.
    /// There is one background pass at a time: another one that runs is stopped first, and keeps what it has
    /// done. Items that cannot be examined are told on standard output, see `getFileSyncInfoSet`.
    void updateIndex(const CIndexFileRef& file, bool background);

    /// A whole pass in the calling thread. `proceed` is called between two batches; false ends the pass, and
    /// what it has done is kept. The report is left in `state`.
    void index(const CIndexFileRef& file, IndexingState& state,
               const std::function<bool(const SearchIndexingStatus&)>& proceed = {});

    /// Begins a pass: lists the folder tree. Throws `CException` (file error) and leaves the index as it is
    /// when the folder is missing or cannot be read, or when another process is at it.
    void startIndexing(const CIndexFileRef& file, IndexingState& state);
    /// One batch. False when nothing is left to do.
    bool indexOnce(IndexingState& state);
    /// Ends a pass, completed or not, and writes what it has found.
    void finishIndexing(IndexingState& state);

    /// Stops the background pass within one batch and keeps what it has done; does nothing when none runs.
    void stopBackgroundIndexing();
    /// False when there has been no background pass.
    bool getBackgroundStatus(SearchIndexingStatus& status) const;
    bool backgroundIndexCompleted() const;

    /// The keywords that files of enabled, undamaged indexes carry, in the order of the keys. A keyword that
    /// the dictionary does not know has the category that the first record with it gives it.
    void generateKeywordList(std::vector<KeywordCount>& list);

    /// Searches every enabled index that is complete or incomplete, see `CIndexFile::search`. Returns the
    /// number of matches in all.
    int search(std::span<const SearchKey> keys, const SearchFilters& filters,
               const halyard::CStringRef& nameFilter, int projectKey, OrganizedSearchResults& results,
               bool organize);

    void setNumberOfNotIndexableFiles(int number) noexcept { m_notIndexable = number; }
    int numberOfNotIndexableFiles() const noexcept { return m_notIndexable; }
    void setDeleteNotIndexableFiles(bool deleteThem) noexcept;
    bool deleteNotIndexableFiles() const noexcept { return m_deleteNotIndexable; }

private:
    CSearchEngine();

    static std::string makeNewIndexFileName();
    static void makeIndexDirectory();
    bool isLoaded(const std::string& path) const;
    void load1IndexFile(const std::string& path);
    static void refresh(CIndexFile& file, const std::atomic<bool>* cancelled = nullptr);
    static bool isSearched(CIndexFile& file);
    SearchKeyInfo categorized(const CIndexFile& file, const SearchKey& key, const KeyPostings& postings);

    static const CFileIndexInfo& recordOf(IndexingState& state, std::int32_t fileID);
    void indexRecord(IndexingState& state);
    void indexNewFiles(IndexingState& state, std::size_t most);
    bool takeResult(IndexingState& state, const std::string& path, FileIndexResult& result,
                    IndexingState::Change& change);
    void store(IndexingState& state);
    void storeOnTheWay(IndexingState& state);

    std::vector<CIndexFileRef> m_indexFiles;  // by path
    std::vector<PathProblem> m_loadProblems;
    CFileIndexer m_fileIndexer;
    halyard::CSharedObjectRef<CIndexingThread> m_thread;  // null: no background pass yet
    std::atomic<int> m_notIndexable{0};
    bool m_deleteNotIndexable = false;
};

using CSearchEngineRef = halyard::CSharedObjectRef<CSearchEngine>;

}  // namespace marl
