// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <MarlCore/SearchEngine/CIndexingThread.h>
#include <MarlCore/foundation/CException.h>
#include <MarlCore/foundation/FileUtilities.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marl {

using halyard::CException;
using halyard::CParamException;
using halyard::CSTR;
using halyard::CStringRef;
using halyard::kFileIOError;
using halyard::kParameterError;

namespace {

constexpr std::string_view kDefaultIndexDirectory = "/Library/Application Support/Orchardine";
constexpr std::string_view kNameFront = "Search Index ";
constexpr std::string_view kNameEnd = ".txt";

std::mutex indexDirectoryMutex;
std::string indexDirectory;  // guarded by indexDirectoryMutex; empty: the default

/// Without "." and double or trailing slashes; links stay.
std::string standardized(const std::string& path) {
    std::string normal = std::filesystem::path(path).lexically_normal().string();
    while (normal.size() > 1 && normal.ends_with('/')) normal.pop_back();
    return normal;
}

[[noreturn]] void throwFileError(int error, const char* format, const std::string& path) {
    CException failure(kFileIOError, error);
    failure.concatMessage(format, path.c_str());
    failure.concatMessage(": %s", std::strerror(error));
    failure.Throw();
}

bool isIndexFileName(std::string_view name) noexcept {
    return name.find(kNameFront) != std::string_view::npos && name.find(kNameEnd) != std::string_view::npos;
}

/// Their paths, sorted.
std::vector<std::string> indexFilesIn(const std::string& directory, std::error_code& error) {
    std::vector<std::string> paths;
    for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isIndexFileName(entry->path().filename().native())) paths.push_back(entry->path().native());
    }
    std::ranges::sort(paths);
    return paths;
}

/// Removes what a process has left that died between making an index file and writing its header. For the
/// holder of the directory, beside whom nobody makes one.
void removeEmptyIndexFiles(const std::string& directory) {
    std::error_code error;
    for (const std::string& path : indexFilesIn(directory, error))
        if (std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) == 0)
            std::filesystem::remove(path, error);
}

/// Keeps other processes from adding index files, so that no folder gets two.
class IndexDirectoryLock {
public:
    explicit IndexDirectoryLock(const std::string& directory)
        : m_descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (m_descriptor < 0) throwFileError(errno, "failed to open the index directory '%s'", directory);
        while (::flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) continue;
    }
    IndexDirectoryLock(const IndexDirectoryLock&) = delete;
    IndexDirectoryLock& operator=(const IndexDirectoryLock&) = delete;
    ~IndexDirectoryLock() { ::close(m_descriptor); }

private:
    const int m_descriptor;
};

}  // namespace

void MCsetIndexDirectoryWithNSString(const std::string& path) {
    const std::lock_guard lock(indexDirectoryMutex);
    indexDirectory = path;
}

void MCsetIndexDirectory(const CStringRef& path) {
    halyard::throwIfNull(path, "path");
    MCsetIndexDirectoryWithNSString(path->getStringRef());
}

std::string MCgetIndexDirectoryAsNSString() {
    const std::lock_guard lock(indexDirectoryMutex);
    if (indexDirectory.empty()) indexDirectory = standardized(std::string(kDefaultIndexDirectory));
    return indexDirectory;
}

CSearchEngine::CSearchEngine() = default;

CSearchEngine::~CSearchEngine() {
    if (m_thread) m_thread->stop();
}

CSearchEngineRef CSearchEngine::New() {
    return CSearchEngineRef(new CSearchEngine);
}

void CSearchEngine::setDeleteNotIndexableFiles(bool deleteThem) noexcept {
    m_deleteNotIndexable = deleteThem;
    m_fileIndexer.setDeleteNotIndexableFiles(deleteThem);
}

// ---- The set of index files ----

void CSearchEngine::loadIndexFiles() {
    m_loadProblems.clear();
    std::erase_if(m_indexFiles, [](const CIndexFileRef& file) { return file->isDeleted(); });
    const std::string directory = getIndexDirectory();
    std::error_code error;
    const std::vector<std::string> paths = indexFilesIn(directory, error);
    if (error && error != std::errc::no_such_file_or_directory)
        m_loadProblems.push_back({directory, error.message()});
    for (const std::string& path : paths) {
        if (isLoaded(path)) continue;
        try {
            load1IndexFile(path);
        } catch (const CException& exception) {
            if (exception.getCode() == ENOENT) continue;  // another process has just removed it
            const int code = exception.getCode();
            m_loadProblems.push_back({path, code != 0 ? std::string("cannot be used: ") + std::strerror(code)
                                                      : exception.getMessage()});
        }
    }
}

bool CSearchEngine::isLoaded(const std::string& path) const {
    return std::ranges::any_of(
        m_indexFiles, [&](const CIndexFileRef& file) { return file->getFullPath()->getStringRef() == path; });
}

void CSearchEngine::load1IndexFile(const std::string& path) {
    const CIndexFileRef file(new CIndexFile(CSTR(path), false));
    const CIndexFile::ContentsScope contents(*file, false);
    if (file->isEmpty()) return;  // another process is about to write its header
    file->readHeader();
    const bool isClosedCleanly = file->getIntegrityFlag() == CIndexFileHeader::kClosedCleanly;
    if (file->getVersion() != CIndexFileHeader::kVersion) {
        // What was never an index file is somebody's, and stays.
        if (isClosedCleanly) return file->removeFile();
        throw CParamException(kParameterError, "this is not an index file");
    }
    if (!isClosedCleanly && file->getRootDirectory().empty())
        throw CParamException(kParameterError, "this is not an index file");
    if (file->getState() != kIndexIsDamaged) file->readSearchKeySet();
    m_indexFiles.push_back(file);
    std::ranges::sort(m_indexFiles, {},
                      [](const CIndexFileRef& one) { return one->getFullPath()->getStringRef(); });
}

void CSearchEngine::makeIndexDirectory() {
    const std::string directory = getIndexDirectory();
    struct stat status;
    if (::stat(directory.c_str(), &status) == 0 && !S_ISDIR(status.st_mode) &&
        ::unlink(directory.c_str()) != 0)
        throw CParamException(kParameterError,
                              "found an item at path '%s'. It's not a directory, and we failed to remove it!",
                              directory.c_str());
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) throwFileError(error.value(), "failed to create the index directory '%s'", directory);
}

/// "Search Index", random letters, ".txt".
std::string CSearchEngine::makeNewIndexFileName() {
    const std::string directory = getIndexDirectory();
    const std::string unique =
        halyard::FileUtilities::generateTemporaryFileName(CSTR(directory), CSTR("Search Index"))
            ->getStringRef();
    const std::string letters = unique.substr(unique.rfind('-') + 1);
    return directory + '/' + std::string(kNameFront) + letters + std::string(kNameEnd);
}

CIndexFileRef CSearchEngine::createIndexFile(const std::string& rootDirectory) {
    makeIndexDirectory();
    const IndexDirectoryLock lock(getIndexDirectory());
    removeEmptyIndexFiles(getIndexDirectory());
    loadIndexFiles();
    if (const CIndexFileRef made = findIndexFileForDirectory(rootDirectory)) return made;
    const CIndexFileRef file(new CIndexFile(CSTR(makeNewIndexFileName()), true));
    file->setRootDirectory(standardized(rootDirectory));
    try {
        file->flushChanges();
    } catch (...) {
        file->discardChanges();
        file->removeFile();
        throw;
    }
    m_indexFiles.push_back(file);
    std::ranges::sort(m_indexFiles, {},
                      [](const CIndexFileRef& one) { return one->getFullPath()->getStringRef(); });
    return file;
}

CIndexFileRef CSearchEngine::findIndexFileForDirectory(const std::string& path) const {
    const std::string root = standardized(path);
    const auto place = std::ranges::find_if(m_indexFiles, [&](const CIndexFileRef& file) {
        const CIndexingMutexHelper lock(*file);
        return file->getRootDirectory() == root;
    });
    return place == m_indexFiles.end() ? CIndexFileRef() : *place;
}

void CSearchEngine::removeIndexFile(const CIndexFileRef& file) {
    halyard::throwIfNull(file, "file");
    CIndexFile::UpdateScope lock(*file);
    lock.keep();  // it goes with the file
    std::erase(m_indexFiles, file);
    file->removeFile();
}

void CSearchEngine::enableIndexFile(const CIndexFileRef& file, bool enable) {
    halyard::throwIfNull(file, "file");
    const CIndexFile::UpdateScope lock(*file);
    const CIndexingMutexHelper mutex(*file);
    const CIndexFile::ContentsScope contents(*file, true);
    file->reloadIfChanged();
    file->setEnabled(enable);
    file->flushChanges();
}

CIndexFileRef CSearchEngine::getIndexFile(int number) const {
    if (number < 0 || number >= indexFileCount())
        throw CParamException(kParameterError, "there is no index file %d (there are %d)", number,
                              indexFileCount());
    return m_indexFiles[static_cast<std::size_t>(number)];
}

// ---- Searching ----

/// Takes over what another process has written since. [mutex held]
void CSearchEngine::refresh(CIndexFile& file, const std::atomic<bool>* cancelled) {
    const CIndexFile::ContentsScope contents(file, false, cancelled);
    file.reloadIfChanged();
}

/// Whether searches look into an index, which is as it is on disk then.
bool CSearchEngine::isSearched(CIndexFile& file) {
    const CIndexingMutexHelper lock(file);
    refresh(file);
    const bool isIndexed = file.getState() == kIndexIsComplete || file.getState() == kIndexIsIncomplete;
    return isIndexed && file.getEnabled();
}

int CSearchEngine::search(std::span<const SearchKey> keys, const SearchFilters& filters,
                          const CStringRef& nameFilter, int projectKey, OrganizedSearchResults& results,
                          bool organize) {
    int found = 0;
    for (const CIndexFileRef& file : m_indexFiles) {
        if (isSearched(*file))
            found += file->search(keys, filters, nameFilter, projectKey, results, organize);
    }
    return found;
}

void CSearchEngine::generateKeywordList(std::vector<KeywordCount>& list) {
    std::map<SearchKey, KeywordCount> keywords;
    for (const CIndexFileRef& file : m_indexFiles) {
        const CIndexingMutexHelper lock(*file);
        refresh(*file);
        if (!file->getEnabled() || file->getState() == kIndexIsDamaged) continue;
        for (const auto& [key, postings] : file->getSearchKeySet().postings()) {
            const int files = file->getLivingFileCount(key);
            if (files == 0) continue;
            KeywordCount& keyword = keywords[key];
            if (keyword.files == 0) keyword.keyword = categorized(*file, key, postings);
            keyword.files += files;
        }
    }
    for (const auto& [key, keyword] : keywords) list.push_back(keyword);
}

SearchKeyInfo CSearchEngine::categorized(const CIndexFile& file, const SearchKey& key,
                                         const KeyPostings& postings) {
    SearchKeyInfo info(key, SearchKeyInfo::kNoCategory, SearchKey());
    if (m_fileIndexer.searchKeyToSearchKeyInfo(key, info)) return info;
    CFileIndexInfo record;
    file.readFileInfo(postings.ascending().front(), record);
    for (const SearchKeyInfo& carried : record.searchKeys())
        if (carried.key == key) return carried;
    return info;
}

}  // namespace marl
