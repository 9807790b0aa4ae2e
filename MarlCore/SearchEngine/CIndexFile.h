// SPDX-License-Identifier: MIT
/// \file
/// The index of one folder tree: a file of records, one for each audio file, and of the keys that they carry.
/// docs/index-file-format.md shows the bytes.
#pragma once

#include <MarlCore/SearchEngine/CFileIndexInfo.h>
#include <MarlCore/SearchEngine/CIndexFileHeader.h>
#include <MarlCore/SearchEngine/CSearchKeySet.h>
#include <MarlCore/SearchEngine/OrganizedSearchResults.h>
#include <MarlCore/SearchEngine/SearchFilters.h>
#include <MarlCore/foundation/CMutex.h>
#include <MarlCore/foundation/CString.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace marl {

class PackedRecords;

/// An open index file with its header and its keys in memory.
///
/// It does no locking of its own between threads: who may run beside an indexing thread holds `getMutex`
/// first, when `isUnderMutexControl`, to read the header too. `search` does so itself. Between processes see
/// `Lock`.
///
/// Every member throws `CException` (file error, the code is errno) for what the system refuses.
class MARLCORE_EXPORT CIndexFile : public halyard::CSharedObject {
public:
    /// Opens the file at `path` for reading and writing, creates it when `create` is true, and lets every
    /// user of the machine read and write it. What is no regular file is refused.
    CIndexFile(const halyard::CStringRef& path, bool create);
    /// Flushes changes; a failure then is lost.
    ~CIndexFile() override;

    halyard::CMutexRef getMutex() const { return m_mutex; }
    /// Put a file under control before a thread begins to change it. [any thread]
    void enableMutexControl(bool enable) noexcept { m_underMutexControl = enable; }
    bool isUnderMutexControl() const noexcept { return m_underMutexControl; }
    halyard::CStringRef getFullPath() const { return m_path; }

    std::int32_t getState() const noexcept { return m_header.getState(); }
    void setState(std::int32_t state) noexcept { m_header.setState(state); }
    std::int32_t getVersion() const noexcept { return m_header.getVersion(); }
    void setVersion(std::int32_t version) noexcept { m_header.setVersion(version); }
    bool getEnabled() const noexcept { return m_header.getEnabled(); }
    void setEnabled(bool enabled) noexcept { m_header.setEnabled(enabled); }
    const std::string& getRootDirectory() const noexcept { return m_header.getRootDirectory(); }
    void setRootDirectory(const std::string& path) { m_header.setRootDirectory(path); }
    std::int32_t incrementFileIndex() { return m_header.incrementFileIndex(); }
    /// The last file identifier given out, those of files that have gone included.
    std::int32_t getFileCount() const noexcept { return m_header.getFileCount(); }
    std::uint32_t getIntegrityFlag() const noexcept { return m_header.getIntegrityFlag(); }
    void flushIntegrityFlag(std::uint32_t flag) { m_header.flushIntegrityFlag(m_descriptor, flag); }

    /// Reads the header. A file that was not closed cleanly becomes damaged, in memory.
    void readHeader();
    void writeHeader();

    /// Reads the key index, and of every record what the filters ask for: a search reads no record that they
    /// exclude. A key index that does not fit the header (its place, its length, the order of its keys, its
    /// file identifiers) makes the file damaged, with no keys.
    void readSearchKeySet();
    const CSearchKeySet& getSearchKeySet() const noexcept { return m_keys; }

    /// Gives the record the next identifier, writes it behind the last one, and returns the identifier. It
    /// overwrites the key index on disk, which the next flush writes further on.
    std::int32_t appendFileInfo(CFileIndexInfo& record);

    /// Throw `CParamException` for a negative identifier. Deliberately not for 0, which no record has:
    /// nothing is read or written. What the file does not hold leaves `record` as it is.
    void readFileInfo(std::int32_t fileID, CFileIndexInfo& record) const;
    void writeFileInfo(std::int32_t fileID, const CFileIndexInfo& record);

    /// Reads the records from `fileID` on, which is positive. Those that the file does not hold are an error.
    void readFileInfos(std::int32_t fileID, std::span<CFileIndexInfo> records) const;

    /// Adds an entry for each key.
    void updateSearchKeySet(std::int32_t fileID, const std::set<SearchKeyInfo>& keys);
    /// Erases every entry of the file, or of these files, which ascend.
    void removeEntriesFromSearchKeySet(std::int32_t fileID) { removeEntriesFromSearchKeySet({&fileID, 1}); }
    void removeEntriesFromSearchKeySet(std::span<const std::int32_t> fileIDs);

    /// Makes the keys those that the records carry, unless they are. They differ after a pass that was killed
    /// between its records and its keys. Returns whether they did.
    bool matchKeysToRecords();

    /// Writes the key index behind the last record.
    void writeSearchKeySet();

    /// Makes sure of disk space for so much more, before anything is overwritten: what follows cannot end
    /// half done for want of it. The file may get longer; what lies behind the keys means nothing.
    void reserve(std::int32_t newRecords, std::size_t newEntries);

    /// Writes what has changed, the keys before the header that says where they are, and waits until the disk
    /// has it. Whoever writes to a file that others may have open is its updater, holds its contents alone,
    /// and has reloaded it since: what is in memory is written, whatever another process has written before.
    void flushChanges();

    /// Gives up changes that could not be written: from the next `reloadIfChanged` on the file counts again
    /// as it is on disk, where another process may have brought it up to date meanwhile.
    void discardChanges() noexcept;

    /// Deletes the file, unless another one has its name by now. This object holds nothing then.
    void removeFile();

    /// Reads everything again when another process has changed the file, for the holder of the contents. One
    /// that is deleted becomes empty, and new.
    void reloadIfChanged();

    /// Finds the files that carry all `keys`, or every file when there are none, and that pass the filters,
    /// and adds them to `results`; returns their number. `nameFilter` may be null or empty: every name; of
    /// one character: names that begin with it; otherwise paths in which it occurs, without regard to the
    /// case of A to Z. `projectKey`: a MIDI note number, 0 for none. `organize`: sorts the results, see
    /// `OrganizedSearchResults`. Holds the mutex under mutex control.
    int search(std::span<const SearchKey> keys, const SearchFilters& filters,
               const halyard::CStringRef& nameFilter, int projectKey, OrganizedSearchResults& results,
               bool organize);

    /// Files in the index that are there, and those of them that carry `key`.
    int getLivingFileCount() const noexcept;
    int getLivingFileCount(const SearchKey& key) const noexcept;

    /// Excludes other processes, and other objects of this one, by advisory locks on the file, which go with
    /// their holder when that is killed. File systems without locks exclude nobody.
    enum class Lock {
        kUpdate,   ///< the one who brings the index up to date, for the length of a pass
        kContents  ///< readers, shared: while they load; the updater, alone: while it writes
    };

    /// Holds the contents for the length of a scope: waits for whoever holds them otherwise. A signal, whose
    /// handler does not restart what it interrupts, ends the wait with an exception (ECANCELED) when
    /// `cancelled`, which may be null, is true by then.
    class MARLCORE_EXPORT ContentsScope {
    public:
        ContentsScope(const CIndexFile& file, bool exclusive, const std::atomic<bool>* cancelled = nullptr);
        ContentsScope(const ContentsScope&) = delete;
        ContentsScope& operator=(const ContentsScope&) = delete;
        ~ContentsScope();

    private:
        const CIndexFile& m_file;
    };

    /// Holds the right to update for the length of a scope, or until it is taken over by `keep`.
    class MARLCORE_EXPORT UpdateScope {
    public:
        /// Throws `CException` (file error, EBUSY) when there is an updater.
        explicit UpdateScope(CIndexFile& file);
        UpdateScope(const UpdateScope&) = delete;
        UpdateScope& operator=(const UpdateScope&) = delete;
        ~UpdateScope();
        void keep() noexcept { m_file = nullptr; }

    private:
        CIndexFile* m_file;
    };

    /// Becomes the one updater; false when there is one, even if it is this object. [any thread]
    bool lockForUpdate();
    void unlockAfterUpdate() noexcept;
    /// Whether somebody else is the updater.
    bool isBeingUpdated() const noexcept;

    /// Whether the file has been deleted since it was opened: what is written to it is lost.
    bool isDeleted() const { return versionOnDisk().isDeleted; }
    /// Whether nothing has been written to it yet.
    bool isEmpty() const { return versionOnDisk().size == 0; }

private:
    /// What the filters ask of a record.
    struct FilterFields {
        tagging::TimeSignature timeSignature;
        std::int16_t keyType = 0;
        std::int16_t contentFileType = 0;
        std::int32_t midiRootNote = 0;
        bool isThere = false;  // not gone
    };

    /// State of the file on disk when it was last read or written.
    struct Version {
        std::int64_t size = -1;
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        bool isDeleted = false;
        bool operator==(const Version&) const = default;
    };

    class KeyTally;

    static FilterFields filterFieldsOf(const CFileIndexInfo& record) noexcept;
    static bool passes(const FilterFields& fields, const SearchFilters& filters, int projectKey) noexcept;

    std::vector<std::int32_t> filesWith(std::span<const SearchKey> keys) const;
    void keepPassing(std::vector<std::int32_t>& fileIDs, const SearchFilters& filters, int projectKey) const;
    int processSearchResults(std::span<const std::int32_t> fileIDs, std::span<const SearchKey> keys,
                             const SearchFilters& filters, const halyard::CStringRef& nameFilter,
                             int projectKey, OrganizedSearchResults& results, bool organize) const;

    void keepRecord(std::int32_t fileID, const CFileIndexInfo& record);
    void forgetContents() noexcept;
    bool keyIndexFitsHeader() const;
    bool readEntries();
    bool readRecords();
    bool insertEntries(std::span<const std::byte> entries);
    template <class Visitor>
    bool forEachRecord(Visitor&& visit) const;
    void becomeDamaged();
    Version versionOnDisk() const;
    void keepVersion();
    static bool mayChangeUnseen(const Version& version) noexcept;
    static std::int64_t placeOf(std::int32_t fileID) noexcept;

    halyard::CMutexRef m_mutex;
    std::atomic<bool> m_underMutexControl{false};
    std::atomic<bool> m_isUpdater{false};
    halyard::CStringRef m_path;
    CIndexFileHeader m_header;
    CSearchKeySet m_keys;
    std::vector<FilterFields> m_filterFields;  // of file n at n - 1
    std::unique_ptr<PackedRecords> m_records;
    int m_descriptor = -1;
    bool m_dirty = false;  // records or keys have changed since the last flush
    std::int64_t m_appendPosition = 0;
    Version m_version;
};

/// Holds the mutex of an index file for the length of a scope, if it is under mutex control.
class MARLCORE_EXPORT CIndexingMutexHelper {
public:
    explicit CIndexingMutexHelper(const CIndexFile& file) {
        if (file.isUnderMutexControl()) m_lock.emplace(*file.getMutex());
    }

private:
    std::optional<halyard::CAutoMutex> m_lock;
};

using CIndexFileRef = halyard::CSharedObjectRef<CIndexFile>;

}  // namespace marl
