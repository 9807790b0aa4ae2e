// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CIndexFile.h>

#include <MarlCore/SearchEngine/PackedRecordsImpl.h>
#include <MarlCore/SearchEngine/WholeTransfersImpl.h>
#include <MarlCore/foundation/CException.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marl {

using halyard::CException;
using halyard::CParamException;
using halyard::CStringRef;
using halyard::kFileIOError;
using platform::loadBig32;
using platform::storeBig32;

namespace {

constexpr std::int64_t kHeaderSize = CIndexFileHeader::kSize;
constexpr std::int64_t kRecordSize = CFileIndexInfo::kSize;

// An entry of the key index: 4 reserved bytes, the key, 2 bytes of padding, the file identifier.
constexpr std::size_t kEntrySize = 40, kEntryKey = 4, kEntryFileID = 36;

/// What is read or written of keys or records at a time: fits into the cache.
constexpr std::size_t kEntriesAtOnce = 4096;
constexpr std::int64_t kRecordsAtOnce = 128;

/// Bytes of the locks: far behind what any index file holds.
constexpr std::int64_t kLockPlace = std::int64_t{1} << 62;

[[noreturn]] void throwFileError(int error, const char* format, const CStringRef& path) {
    CException failure(kFileIOError, error);
    failure.concatMessage(format, path->getCharPtr());
    failure.Throw();
}

void requireFileID(std::int32_t fileID) {
    if (fileID < 0)
        throw CParamException(halyard::kParameterError, "fileID must be greater than 0 (received %d)",
                              fileID);
}

}  // namespace

std::int64_t CIndexFile::placeOf(std::int32_t fileID) noexcept {
    return fileID * kRecordSize - (kRecordSize - kHeaderSize);
}

CIndexFile::CIndexFile(const CStringRef& path, bool create)
    : m_mutex(new halyard::CMutex), m_path(path), m_records(new PackedRecords) {
    halyard::throwIfNull(path, "path");
    // A pipe must not hold the caller up.
    const int flags = O_RDWR | O_CLOEXEC | O_NONBLOCK | (create ? O_CREAT : 0);
    m_descriptor = ::open(path->getCharPtr(), flags, 0666);
    struct stat status = {};
    const bool isFile = m_descriptor >= 0 && ::fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode);
    if (!isFile) {
        const int error = m_descriptor < 0 ? errno : EINVAL;
        if (m_descriptor >= 0) ::close(m_descriptor);
        throwFileError(error, "failed to open file '%s'", path);
    }
    // Every user of the machine may bring a shared index up to date; only its owner can say so.
    (void)::fchmod(m_descriptor, 0666);
}

CIndexFile::~CIndexFile() {
    if (m_descriptor < 0) return;
    try {
        flushChanges();
    } catch (const CException&) {  // nobody is left to hear of it; the index can be made again
    }
    ::close(m_descriptor);
}

void CIndexFile::readHeader() {
    m_version = versionOnDisk();
    if (mayChangeUnseen(m_version)) m_version = {};
    if (m_header.readFromFile(m_descriptor))
        m_appendPosition = m_header.getSearchKeyIndexLocation();
    else
        m_header.setState(kIndexIsDamaged);
}

std::int32_t CIndexFile::appendFileInfo(CFileIndexInfo& record) {
    const std::int32_t fileID = m_header.nextFileIndex();
    record.setFileID(fileID);
    const std::int64_t place = fileID == 1 ? kHeaderSize : m_appendPosition;
    m_dirty = true;
    record.writeAt(m_descriptor, place);
    incrementFileIndex();  // not before: an identifier without a record would shift all that follow
    m_appendPosition = place + kRecordSize;
    keepRecord(fileID, record);
    return fileID;
}

void CIndexFile::readFileInfo(std::int32_t fileID, CFileIndexInfo& record) const {
    requireFileID(fileID);
    if (fileID > 0) record.readAt(m_descriptor, placeOf(fileID));
}

void CIndexFile::readFileInfos(std::int32_t fileID, std::span<CFileIndexInfo> records) const {
    if (!CFileIndexInfo::readAllAt(m_descriptor, placeOf(fileID), records))
        throwFileError(EIO, "failed to read the records of '%s'", m_path);
}

void CIndexFile::writeFileInfo(std::int32_t fileID, const CFileIndexInfo& record) {
    requireFileID(fileID);
    if (fileID == 0) return;
    m_dirty = true;
    record.writeAt(m_descriptor, placeOf(fileID));
    keepRecord(fileID, record);
}

void CIndexFile::keepRecord(std::int32_t fileID, const CFileIndexInfo& record) {
    const auto place = static_cast<std::size_t>(fileID) - 1;
    if (fileID > getFileCount()) return;
    if (m_filterFields.size() <= place) m_filterFields.resize(place + 1);
    m_filterFields[place] = filterFieldsOf(record);
    m_records->keep(fileID, record);
}

void CIndexFile::updateSearchKeySet(std::int32_t fileID, const std::set<SearchKeyInfo>& keys) {
    for (const SearchKeyInfo& info : keys) m_keys.insert({info.key, fileID});
    m_dirty = true;
}

void CIndexFile::removeEntriesFromSearchKeySet(std::span<const std::int32_t> fileIDs) {
    m_keys.erase(fileIDs);
    m_dirty = true;
}

void CIndexFile::writeSearchKeySet() {
    constexpr std::size_t kMostEntries = std::numeric_limits<std::int32_t>::max();
    if (m_keys.size() > kMostEntries)
        throw CException(halyard::kInternalError, "the index is full (%zu keys)", m_keys.size());
    // An index with keys but without a record begins behind the header all the same.
    if (m_keys.size() != 0) m_appendPosition = std::max(m_appendPosition, kHeaderSize);
    std::vector<std::byte> entries;
    std::int64_t place = m_appendPosition;
    const auto write = [&] {
        if (!writeWholeAt(m_descriptor, entries, place))
            throwFileError(errno, "failed to write search keys to '%s'", m_path);
        place += static_cast<std::int64_t>(entries.size());
        entries.clear();
    };
    m_keys.forEach([&](const SearchKey& key, std::int32_t fileID) {
        entries.resize(entries.size() + kEntrySize);
        std::byte* const entry = entries.data() + entries.size() - kEntrySize;
        std::memcpy(entry + kEntryKey, key.getCharPtr(), SearchKey::kSize);
        storeBig32(entry + kEntryFileID, static_cast<std::uint32_t>(fileID));
        if (entries.size() == kEntriesAtOnce * kEntrySize) write();
    });
    write();
    m_header.setSearchKeyIndexLocation(m_appendPosition);
    m_header.setSearchKeyIndexCount(static_cast<std::int32_t>(m_keys.size()));
}

void CIndexFile::reserve(std::int32_t newRecords, std::size_t newEntries) {
    const std::int64_t records = std::max(m_appendPosition, kHeaderSize) + newRecords * kRecordSize;
    const auto end = records + static_cast<std::int64_t>((m_keys.size() + newEntries) * kEntrySize);
    const std::int64_t size = versionOnDisk().size;
    if (end <= size) return;
    const int error = ::posix_fallocate(m_descriptor, size, end - size);
    if (error == ENOSPC || error == EFBIG || error == EDQUOT)
        throwFileError(error, "failed to make room in '%s'", m_path);
}

void CIndexFile::flushChanges() {
    if (m_dirty) {
        writeSearchKeySet();
        // The header must not reach the disk before what it speaks of.
        if (::fdatasync(m_descriptor) != 0) throwFileError(errno, "failed to flush '%s'", m_path);
    }
    if (m_dirty || m_header.isChanged())
        m_header.flushIntegrityFlag(m_descriptor, CIndexFileHeader::kClosedCleanly);
    m_dirty = false;
    m_header.clearChanged();
    if (::fsync(m_descriptor) != 0) throwFileError(errno, "failed to flush '%s'", m_path);
    keepVersion();
}

void CIndexFile::writeHeader() {
    m_header.writeToFile(m_descriptor);
    keepVersion();
}

/// Remembers the file as it is after a write of this object. It is dated by the exact time first: writes are
/// dated by a clock that moves in ticks, and none of them, before its next tick, leaves the same version.
/// Where only the owner may set a date, searches trust nothing that they cannot check.
void CIndexFile::keepVersion() {
    struct timespec times[2] = {{0, UTIME_OMIT}, {}};
    ::clock_gettime(CLOCK_REALTIME, &times[1]);
    const bool isDated = ::futimens(m_descriptor, times) == 0;
    m_version = versionOnDisk();
    if (!isDated && mayChangeUnseen(m_version)) m_records->clear();
}

void CIndexFile::discardChanges() noexcept {
    m_dirty = false;
    m_header.clearChanged();
    m_version = {};
}

void CIndexFile::removeFile() {
    if (m_path->getLength() == 0) return;
    // Its name may be another one's by now, which somebody else has made since.
    const bool isGone = isDeleted();
    if (m_descriptor >= 0) ::close(m_descriptor);
    m_descriptor = -1;
    forgetContents();
    m_dirty = false;
    if (!isGone && ::unlink(m_path->getCharPtr()) != 0 && errno != ENOENT)
        throwFileError(errno, "failed to remove '%s'", m_path);
}

CIndexFile::Version CIndexFile::versionOnDisk() const {
    struct stat status = {};
    if (::fstat(m_descriptor, &status) != 0) return {};
    return {status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_nlink == 0};
}

/// Whether the clock that dates files has not moved on since: another write would leave the same version.
bool CIndexFile::mayChangeUnseen(const Version& version) noexcept {
    struct timespec now = {};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return std::pair<std::int64_t, std::int64_t>(version.seconds, version.nanoseconds) >=
           std::pair<std::int64_t, std::int64_t>(now.tv_sec, now.tv_nsec);
}

void CIndexFile::reloadIfChanged() {
    const bool isInPass = m_isUpdater && (getState() == kIndexingAnew || getState() == kIndexUpdating);
    if (isInPass) return;  // its state stands in memory only, and nobody else writes
    const Version version = versionOnDisk();
    if (m_dirty || m_header.isChanged() || version == m_version) return;
    forgetContents();
    if (version.isDeleted) {
        m_header.setState(kIndexIsNew);
        m_version = version;
        return;
    }
    readHeader();
    if (getState() != kIndexIsDamaged) readSearchKeySet();
}

// ---- Reading keys and records ----

void CIndexFile::readSearchKeySet() {
    forgetContents();
    if (!keyIndexFitsHeader() || !readEntries() || !readRecords()) becomeDamaged();
}

void CIndexFile::forgetContents() noexcept {
    m_keys.clear();
    m_filterFields.clear();
    m_records->clear();
}

void CIndexFile::becomeDamaged() {
    forgetContents();
    m_header.setState(kIndexIsDamaged);
}

/// Whether the header's place and length of the key index can be true. Records that a killed pass has
/// appended lie over the key index: the first of them begins with the next identifier.
bool CIndexFile::keyIndexFitsHeader() const {
    const std::int32_t files = getFileCount(), count = m_header.getSearchKeyIndexCount();
    const std::int64_t location = m_header.getSearchKeyIndexLocation();
    if (files < 0 || count < 0) return false;
    if (files == 0) return count == 0;
    if (location != placeOf(files) + kRecordSize) return false;
    if (location + count * static_cast<std::int64_t>(kEntrySize) > versionOnDisk().size) return false;
    std::array<std::byte, 4> front{};
    readWholeAt(m_descriptor, front, location);
    return files == std::numeric_limits<std::int32_t>::max() ||
           loadBig32(front.data()) != static_cast<std::uint32_t>(files) + 1;
}

bool CIndexFile::readEntries() {
    std::int64_t place = m_header.getSearchKeyIndexLocation();
    auto left = static_cast<std::size_t>(m_header.getSearchKeyIndexCount());
    std::vector<std::byte> block(std::min(left, kEntriesAtOnce) * kEntrySize);
    while (left > 0) {
        const auto entries = std::span(block).first(std::min(left, kEntriesAtOnce) * kEntrySize);
        const std::int64_t count = readWholeAt(m_descriptor, entries, place);
        if (count < 0) {
            CException failure(kFileIOError, errno);
            failure.concatMessage("failed to read search key (entryCount = %d)", static_cast<int>(left));
            failure.Throw();
        }
        if (count < static_cast<std::int64_t>(entries.size()) || !insertEntries(entries)) return false;
        place += count;
        left -= entries.size() / kEntrySize;
    }
    return true;
}

/// False when the keys do not rise, or an identifier is none.
bool CIndexFile::insertEntries(std::span<const std::byte> entries) {
    const std::byte* last = nullptr;
    for (; !entries.empty(); entries = entries.subspan(kEntrySize)) {
        const std::byte* const bytes = entries.data() + kEntryKey;
        const auto fileID = static_cast<std::int32_t>(loadBig32(entries.data() + kEntryFileID));
        if (fileID < 1 || fileID > getFileCount()) return false;
        // Keys come in long runs.
        if (last && std::memcmp(bytes, last, SearchKey::kSize) == 0) {
            m_keys.insertForLastKey(fileID);
        } else {
            const SearchKey key = SearchKey::fromBytes(bytes);
            if (!m_keys.postings().empty() && key < m_keys.postings().rbegin()->first) return false;
            m_keys.insert({key, fileID});
        }
        last = bytes;
    }
    return true;
}

/// `visit(fileID, const CFileIndexInfo&)` for each record, until it returns false. False then, or when the
/// file does not hold them all.
template <class Visitor>
bool CIndexFile::forEachRecord(Visitor&& visit) const {
    static_assert(sizeof(CFileIndexInfo) == kRecordSize);
    const std::int64_t files = getFileCount();
    std::vector<CFileIndexInfo> block(
        static_cast<std::size_t>(std::clamp(files, std::int64_t{0}, kRecordsAtOnce)));
    for (std::int64_t done = 0; done < files; done += kRecordsAtOnce) {
        const auto records =
            std::span(block).first(static_cast<std::size_t>(std::min(files - done, kRecordsAtOnce)));
        if (!CFileIndexInfo::readAllAt(m_descriptor, kHeaderSize + done * kRecordSize, records)) return false;
        for (std::size_t i = 0; i < records.size(); ++i)
            if (!visit(static_cast<std::int32_t>(done) + static_cast<std::int32_t>(i) + 1, records[i]))
                return false;
    }
    return true;
}

/// False when a record does not bear its identifier.
bool CIndexFile::readRecords() {
    // Nothing is reserved: the count may lie, and a file with holes is as long as it likes.
    return forEachRecord([&](std::int32_t fileID, const CFileIndexInfo& record) {
        m_filterFields.push_back(filterFieldsOf(record));
        m_records->keep(fileID, record);
        return record.getFileID() == fileID || record.getFileID() == -fileID;
    });
}

/// A sum over pairs of key and file that does not depend on their order.
class CIndexFile::KeyTally {
public:
    void add(const SearchKey& key, std::int32_t fileID) noexcept {
        std::uint64_t value = 0xCBF29CE484222325;  // FNV-1a, in upper case
        for (const char c : key.view())
            value = (value ^ static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 32 : c)) * 0x100000001B3;
        // The mixing of splitmix64: a sum of unmixed values would miss an exchange of two files.
        value += static_cast<std::uint64_t>(fileID) * 0x9E3779B97F4A7C15;
        value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
        value = (value ^ value >> 27) * 0x94D049BB133111EB;
        m_sum += value ^ value >> 31;
        ++m_count;
    }

    bool operator==(const KeyTally&) const = default;

private:
    std::uint64_t m_sum = 0;
    std::uint64_t m_count = 0;
};

bool CIndexFile::matchKeysToRecords() {
    KeyTally stated, carried;
    m_keys.forEach([&](const SearchKey& key, std::int32_t fileID) { stated.add(key, fileID); });
    const bool isRead = forEachRecord([&](std::int32_t fileID, const CFileIndexInfo& record) {
        for (const SearchKeyInfo& info : record.searchKeys()) carried.add(info.key, fileID);
        return true;
    });
    if (!isRead || stated == carried) return false;
    m_keys.clear();
    const bool isReadAgain = forEachRecord([&](std::int32_t fileID, const CFileIndexInfo& record) {
        updateSearchKeySet(fileID, record.searchKeys());
        return true;
    });
    if (!isReadAgain) {
        discardChanges();
        throwFileError(EIO, "failed to read the records of '%s'", m_path);
    }
    return true;
}

// ---- Locks between processes ----

namespace {

struct flock lockOf(CIndexFile::Lock which, short type) noexcept {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = kLockPlace + static_cast<int>(which);
    lock.l_len = 1;
    return lock;
}

/// False when somebody holds it and `wait` is false, or the wait was cancelled.
bool lockByte(int descriptor, CIndexFile::Lock which, short type, bool wait,
              const std::atomic<bool>* cancelled = nullptr) noexcept {
    struct flock lock = lockOf(which, type);
    for (;;) {
        if (::fcntl(descriptor, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock) == 0) return true;
        if (errno != EINTR) return errno != EAGAIN && errno != EACCES;
        if (cancelled && *cancelled) return false;
    }
}

}  // namespace

bool CIndexFile::lockForUpdate() {
    if (m_isUpdater.exchange(true)) return false;
    const bool isLocked = lockByte(m_descriptor, Lock::kUpdate, F_WRLCK, false);
    m_isUpdater = isLocked;
    return isLocked;
}

void CIndexFile::unlockAfterUpdate() noexcept {
    lockByte(m_descriptor, Lock::kUpdate, F_UNLCK, false);
    m_isUpdater = false;
}

bool CIndexFile::isBeingUpdated() const noexcept {
    struct flock lock = lockOf(Lock::kUpdate, F_WRLCK);
    return ::fcntl(m_descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

CIndexFile::UpdateScope::UpdateScope(CIndexFile& file) : m_file(&file) {
    if (file.lockForUpdate()) return;
    const CIndexingMutexHelper mutex(file);
    throwFileError(EBUSY, "the index of '%s' is being brought up to date already",
                   halyard::CSTR(file.getRootDirectory()));
}

CIndexFile::UpdateScope::~UpdateScope() {
    if (m_file) m_file->unlockAfterUpdate();
}

CIndexFile::ContentsScope::ContentsScope(const CIndexFile& file, bool exclusive,
                                         const std::atomic<bool>* cancelled)
    : m_file(file) {
    if (!lockByte(file.m_descriptor, Lock::kContents, exclusive ? F_WRLCK : F_RDLCK, true, cancelled))
        throw CException(kFileIOError, ECANCELED, "cancelled while another process held the index");
}

CIndexFile::ContentsScope::~ContentsScope() {
    lockByte(m_file.m_descriptor, Lock::kContents, F_UNLCK, false);
}

}  // namespace marl
