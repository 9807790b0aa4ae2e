// SPDX-License-Identifier: MIT
/// \file
/// What a host's dialog about missing files implements.
#pragma once

#include <MarlCore/platform/URL.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace marl {

/// A file that is not where its source has it.
struct MissingFile {
    platform::URL url;
    std::string displayName;            ///< its name
    std::optional<std::uint64_t> size;  ///< bytes when it was open last; nothing when it never was
    bool isVideo = false;
    std::string reason;  ///< why it cannot be opened; may be empty
};

/// Asks a person what to do about missing files, and says how it went.
/// `MediaManager::reconnectOfflineSources` calls it. Paths are absolute. What it throws ends that, and is
/// thrown on. [main thread]
class MARLCORE_EXPORT OfflineFileResolver {
public:
    enum class Action {
        kLocate,        ///< the file is at `path`
        kSearchFolder,  ///< it is somewhere in the folder at `path`
        kSkip,          ///< it stays offline, and is asked about again the next time
        kStayOffline    ///< it stays offline, and is not asked about any more
    };

    struct Answer {
        Action action = Action::kSkip;
        std::string path = {};
    };

    virtual ~OfflineFileResolver() = default;

    /// Called until the file is found, or the answer is one of the last two.
    virtual Answer resolveMissingFile(const MissingFile& file) = 0;

    /// Before each folder that is searched; false ends the search. For progress and "Cancel".
    virtual bool willSearchFolder(const std::string& folder);
    /// A folder was passed over.
    virtual void folderIsUnreadable(const std::string& folder);
    /// A search that was asked for has not found the one file. `candidates` have its name and, where that is
    /// known, its size: with the size unknown there may be several, which is for a person to tell.
    /// `wasComplete`: false when the search was ended before it had seen all.
    virtual void searchWasInVain(const MissingFile& file, const std::vector<std::string>& candidates,
                                 bool wasComplete);
    /// The file at `path` cannot stand for the missing one.
    virtual void fileIsNotUsable(const MissingFile& file, const std::string& path, const std::string& reason);
    virtual void didReconnect(const MissingFile& file, const platform::URL& newURL);
};

}  // namespace marl
