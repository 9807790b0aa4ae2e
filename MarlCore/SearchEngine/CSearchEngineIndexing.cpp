// SPDX-License-Identifier: MIT
// Bringing an index in line with its folder tree.
#include <MarlCore/SearchEngine/CIndexingThread.h>
#include <MarlCore/SearchEngine/CSearchEngine.h>
#include <MarlCore/foundation/CException.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <unistd.h>

namespace marl {

using halyard::CException;

namespace {

/// Records looked at in a batch for each file that may be examined: they cost so much less.
constexpr int kRecordsPerFile = 64;

constexpr std::int32_t kRecordsAhead = 64;  // read at once

// What has been found is stored together: each time the whole key index is written behind the records. A
// tenth of the records that there are keeps the sum of that in proportion, the limits keep a killed pass from
// losing much and memory from filling.
constexpr std::size_t kLeastChanges = 4096, kMostChanges = 32768, kShareOfRecords = 10;

/// The state that an update moves an index to.
std::int32_t stateOfUpdate(std::int32_t state) noexcept {
    return state == kIndexIsNew || state == kIndexingAnew ? kIndexingAnew : kIndexUpdating;
}

[[noreturn]] void throwFileError(int error, const char* format, const std::string& path) {
    CException failure(halyard::kFileIOError, error);
    failure.concatMessage(format, path.c_str());
    failure.concatMessage(": %s", std::strerror(error));
    failure.Throw();
}

/// A folder that is missing or may not be read does not mean that its files have gone.
void requireReadableFolder(const std::string& path) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), ::closedir);
    if (!folder) throwFileError(errno, "failed to read the folder '%s'", path);
}

bool isDamaged(const CIndexFile& file) {
    const CIndexingMutexHelper mutex(file);
    return file.getState() == kIndexIsDamaged;
}

std::string rootOf(const CIndexFile& file) {
    const CIndexingMutexHelper mutex(file);
    return file.getRootDirectory();
}

bool isUnderOneOf(const std::set<std::string, std::less<>>& folders, std::string_view path) {
    if (folders.empty()) return false;
    for (std::size_t end = path.rfind('/'); end != std::string_view::npos && end > 0;
         end = path.rfind('/', end - 1))
        if (folders.contains(path.substr(0, end))) return true;
    return folders.contains("/");
}

bool isTimeToStore(const IndexingState& state) {
    const CIndexingMutexHelper mutex(*state.file);
    const auto share = static_cast<std::size_t>(state.file->getFileCount()) / kShareOfRecords;
    return state.changes.size() >= std::clamp(share, kLeastChanges, kMostChanges);
}

}  // namespace

// ---- A pass ----

void CSearchEngine::startIndexing(const CIndexFileRef& file, IndexingState& state) {
    halyard::throwIfNull(file, "file");
    file->enableMutexControl(true);
    const std::string root = rootOf(*file);
    state.file = file;
    state.status.rootDirectory = root;
    requireReadableFolder(root);
    CIndexFile::UpdateScope lock(*file);
    if (file->isDeleted()) throwFileError(ESTALE, "the index of '%s' was removed meanwhile", root);
    getFileSyncInfoSet(
        root.c_str(), state.listing,
        [this](const std::string& path, bool isLink) {
            return isLink ? m_fileIndexer.shouldAddFile(path) : m_fileIndexer.shouldAddKnownFile(path);
        },
        state.cancelled, state.report);
    {
        const CIndexingMutexHelper mutex(*file);
        refresh(*file, &state.cancelled);
        if (file->getState() == kIndexIsDamaged)
            throwFileError(EUCLEAN, "the index of '%s' is damaged", root);
        file->matchKeysToRecords();
        state.stateOnDisk = file->getState();
        file->setState(stateOfUpdate(state.stateOnDisk));
        state.lastRecord = file->getFileCount();
    }
    lock.keep();
    state.problems = state.report.refusedFiles;
    SearchIndexingStatus& status = state.status;
    status.filesRefused = static_cast<int>(state.problems.size());
    status.danglingLinks = state.report.danglingLinks;
    status.unreadableFolders = static_cast<int>(state.report.unreadableFolders.size());
    status.filesToDo = state.lastRecord + static_cast<int>(state.listing.size());
}

bool CSearchEngine::indexOnce(IndexingState& state) {
    const auto isDone = [&] { return state.nextRecord > state.lastRecord && state.listing.empty(); };
    const int examinedBefore =
        state.status.filesAdded + state.status.filesUpdated + state.status.filesRefused;
    const auto examined = [&] {
        return state.status.filesAdded + state.status.filesUpdated + state.status.filesRefused -
               examinedBefore;
    };
    int steps = state.batchLimit * kRecordsPerFile;
    while (!state.cancelled && !isDone() && steps-- > 0 && examined() < state.batchLimit) {
        if (state.nextRecord <= state.lastRecord)
            indexRecord(state);
        else
            indexNewFiles(state, static_cast<std::size_t>(state.batchLimit - examined()));
    }
    if (isTimeToStore(state)) storeOnTheWay(state);
    state.completed = isDone() && !state.cancelled;  // which may have cut the listing short
    return !state.cancelled && !state.completed;
}

/// Reads ahead. What a pass writes on the way it has looked at before.
const CFileIndexInfo& CSearchEngine::recordOf(IndexingState& state, std::int32_t fileID) {
    std::vector<CFileIndexInfo>& ahead = state.recordsAhead;
    if (ahead.empty() || fileID >= state.firstAhead + static_cast<std::int32_t>(ahead.size())) {
        ahead.resize(static_cast<std::size_t>(std::min(state.lastRecord - fileID + 1, kRecordsAhead)));
        state.firstAhead = fileID;
        const CIndexingMutexHelper mutex(*state.file);
        state.file->readFileInfos(fileID, ahead);
    }
    return ahead[static_cast<std::size_t>(fileID - state.firstAhead)];
}

/// Compares the next record with its file.
void CSearchEngine::indexRecord(IndexingState& state) {
    const std::int32_t fileID = state.nextRecord++;
    SearchIndexingStatus& status = state.status;
    IndexingState::Change change;
    change.record = recordOf(state, fileID);
    const std::string path = change.record.getFileName();
    const bool wasThere = change.record.getFileID() > 0;
    const auto place = state.listing.find(CFileSyncInfo(path.substr(0, CFileSyncInfo::kSize - 1).c_str()));
    ++status.filesDone;

    if (place == state.listing.end()) {
        if (!wasThere) return;
        if (isUnderOneOf(state.report.unknownFolders, path)) {
            ++status.filesKept;
            return;
        }
        ++status.filesGone;
        change.record.setFileID(-fileID);
        state.changes.push_back(std::move(change));
        return;
    }

    const bool hasChanged = place->getModificationTime() > change.record.getIndexTime();
    state.listing.erase(place);
    --status.filesToDo;
    change.record.setFileID(fileID);
    if (hasChanged) {
        FileIndexResult result;
        m_fileIndexer.examineFile(path, result);
        if (takeResult(state, path, result, change)) {
            ++status.filesUpdated;
        } else {
            change.record.setFileID(-fileID);  // what stood in it is there no more
            if (!wasThere) return;
        }
    } else if (wasThere) {
        ++status.filesUnchanged;
        return;
    } else {
        ++status.filesReturned;
    }
    state.changes.push_back(std::move(change));
}

void CSearchEngine::indexNewFiles(IndexingState& state, std::size_t most) {
    std::vector<std::string> paths;
    for (auto file = state.listing.begin(); file != state.listing.end() && paths.size() < most;
         file = state.listing.erase(file))
        paths.push_back(file->getFileName());
    std::vector<FileIndexResult> results(paths.size());
    m_fileIndexer.examineFiles(paths, results);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        ++state.status.filesDone;
        IndexingState::Change change;
        if (!takeResult(state, paths[i], results[i], change)) continue;
        ++state.status.filesAdded;
        state.changes.push_back(std::move(change));
    }
}

/// The record of a file goes to `change`, under the identifier that it has. Notes why when there is none.
bool CSearchEngine::takeResult(IndexingState& state, const std::string& path, FileIndexResult& result,
                               IndexingState::Change& change) {
    const std::int32_t fileID = change.record.getFileID();
    if (result.outcome != FileIndexResult::Outcome::kIndexed) {
        ++state.status.filesRefused;
        ++m_notIndexable;
        state.problems.push_back({path, result.reason});
        return false;
    }
    change.record = result.record;
    change.record.setFileID(fileID);
    change.keys = std::move(result.keys);
    return true;
}

/// Writes the changes, and the index as it is with them. [mutex and contents held]
void CSearchEngine::store(IndexingState& state) {
    CIndexFile& file = *state.file;
    std::vector<IndexingState::Change> changes = std::exchange(state.changes, {});  // once, whatever happens
    std::int32_t newRecords = 0;
    std::size_t newEntries = 0;
    std::vector<std::int32_t> replaced;
    for (const IndexingState::Change& change : changes) {
        const std::int32_t fileID = change.record.getFileID();
        if (fileID == 0) ++newRecords;
        if (change.keys) newEntries += change.keys->size();
        if (change.keys && fileID != 0) replaced.push_back(fileID);
    }
    file.reserve(newRecords, newEntries);
    if (!replaced.empty())
        file.removeEntriesFromSearchKeySet(replaced);  // in the order of records: ascending
    for (IndexingState::Change& change : changes) {
        std::int32_t fileID = change.record.getFileID();
        if (fileID == 0)
            fileID = file.appendFileInfo(change.record);
        else
            file.writeFileInfo(std::abs(fileID), change.record);
        if (change.keys) file.updateSearchKeySet(fileID, *change.keys);
    }
    file.flushChanges();
}

/// Stores as incomplete, so that other processes can search what there is.
void CSearchEngine::storeOnTheWay(IndexingState& state) {
    CIndexFile& file = *state.file;
    const CIndexingMutexHelper mutex(file);
    const CIndexFile::ContentsScope contents(file, true, &state.cancelled);
    const std::int32_t stateOfPass = file.getState();
    file.setState(kIndexIsIncomplete);
    store(state);
    state.stateOnDisk = kIndexIsIncomplete;
    file.setState(stateOfPass);
}

void CSearchEngine::finishIndexing(IndexingState& state) {
    CIndexFile& file = *state.file;
    state.status.isFinished = true;
    try {
        const CIndexingMutexHelper mutex(file);
        const CIndexFile::ContentsScope contents(file, true, &state.cancelled);
        file.setState(state.completed ? kIndexIsComplete : kIndexIsIncomplete);
        store(state);
        if (state.stateOnDisk != file.getState()) file.writeHeader();  // a flush alone does not write it
    } catch (...) {
        {
            const CIndexingMutexHelper mutex(file);
            file.discardChanges();
        }
        file.unlockAfterUpdate();
        throw;
    }
    file.unlockAfterUpdate();
    state.status.isComplete = state.completed;
}

// ---- Passes from beginning to end ----

void CSearchEngine::index(const CIndexFileRef& file, IndexingState& state,
                          const std::function<bool(const SearchIndexingStatus&)>& proceed) {
    startIndexing(file, state);
    try {
        while (indexOnce(state))
            if (proceed && !proceed(state.status)) break;
    } catch (...) {
        finishIndexing(state);
        throw;
    }
    finishIndexing(state);
}

void CSearchEngine::index1Directory(const std::string& path) {
    CIndexFileRef file = findIndexFileForDirectory(path);
    if (!file) file = createIndexFile(path);
    updateIndex(file, false);
}

void CSearchEngine::updateIndex(const CIndexFileRef& file, bool background) {
    halyard::throwIfNull(file, "file");
    if (isDamaged(*file)) return;
    if (!background) {
        IndexingState state;
        return index(file, state);
    }
    stopBackgroundIndexing();
    m_thread = halyard::CSharedObjectRef<CIndexingThread>(new CIndexingThread(*this, file));
    m_thread->runWithPriority(0.0, -1);
}

void CSearchEngine::stopBackgroundIndexing() {
    if (m_thread) m_thread->stop();
}

bool CSearchEngine::getBackgroundStatus(SearchIndexingStatus& status) const {
    if (!m_thread) return false;
    m_thread->getBackgroundStatus(status);
    return true;
}

bool CSearchEngine::backgroundIndexCompleted() const {
    return m_thread && m_thread->isIndexingComplete();
}

}  // namespace marl
