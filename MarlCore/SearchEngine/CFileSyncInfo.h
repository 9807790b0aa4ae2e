// SPDX-License-Identifier: MIT
/// \file
/// The audio files of a folder tree, as they stand on disk.
#pragma once

#include <MarlCore/platform/Export.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace marl {

/// What stat says of a file, in types that are the same for every host: a `struct stat` depends on what a
/// host defines (_FILE_OFFSET_BITS, _TIME_BITS).
struct FileStatus {
    bool isFile;                    ///< a regular one
    std::int64_t modificationTime;  ///< seconds since 1970 (UTC)
    std::uint64_t device;
    std::uint64_t number;  ///< of the file on its device
};

/// One audio file on disk.
class MARLCORE_EXPORT CFileSyncInfo {
public:
    /// What a record's name can hold with its end.
    static constexpr std::size_t kSize = 1024;

    /// Throw `CNullPointerException` for a null name, and `CParamException` for one of more than 1024 bytes.
    /// One of exactly 1024 bytes passes and is cut to 1023; such an entry is not valid.
    explicit CFileSyncInfo(const char* fileName);
    CFileSyncInfo(const char* fileName, const FileStatus& status);
    virtual ~CFileSyncInfo() = default;

    /// Whether the name is whole and belongs to a file.
    bool validFile() const noexcept { return m_isWhole && m_isFile; }
    const std::string& getFileName() const noexcept { return m_fileName; }
    /// Seconds since 1970 (UTC); 0 without a status.
    std::int64_t getModificationTime() const noexcept { return m_modificationTime; }
    /// Which file it is, whatever its names: device and number.
    std::pair<std::uint64_t, std::uint64_t> getIdentity() const noexcept { return {m_device, m_number}; }

    /// By the bytes of the names.
    friend bool operator<(const CFileSyncInfo& a, const CFileSyncInfo& b) noexcept {
        return a.m_fileName < b.m_fileName;
    }

private:
    std::string m_fileName;
    bool m_isWhole;
    bool m_isFile = true;
    std::int64_t m_modificationTime = 0;
    std::uint64_t m_device = 0;
    std::uint64_t m_number = 0;
};

/// A path with what is wrong with it.
struct PathProblem {
    std::string path;
    std::string reason;
};

/// What a listing could not take in.
struct ListingReport {
    std::vector<PathProblem> unreadableFolders;
    /// Folders of which not all is known: those that are unreadable, and the targets of dangling links, which
    /// may be on a drive that is not mounted.
    std::set<std::string, std::less<>> unknownFolders;
    std::vector<PathProblem> refusedFiles;  ///< paths that are too long
    int danglingLinks = 0;
};

/// Whether to list a file, by its path. `isLink`: the path is a symbolic link to it.
using WantedFile = std::function<bool(const std::string& path, bool isLink)>;

/// Lists the files under `directory` that `wanted` takes, each once: symbolic links are followed, folders and
/// files that were met by another name, and loops of links, are left out. A failing stat is told on standard
/// output, and the entry left out; unless it says that there is no such item, its folder counts as
/// unreadable. The companions ("._name") that some systems put beside a file are left out too. Stops early
/// once `cancelled` is true. Throws `CNullPointerException` for a null directory. [any thread]
MARLCORE_EXPORT void getFileSyncInfoSet(const char* directory, std::set<CFileSyncInfo>& files,
                                        const WantedFile& wanted, const std::atomic<bool>& cancelled,
                                        ListingReport& report);

}  // namespace marl
