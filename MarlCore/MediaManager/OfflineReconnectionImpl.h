// SPDX-License-Identifier: MIT
/// \file
/// How missing files are found again.
#pragma once

#include <MarlCore/MediaManager/CMediaManager.h>
#include <MarlCore/MediaManager/FolderListing.h>
#include <MarlCore/MediaManager/OfflineFileResolver.h>

#include <set>

namespace marl {

/// Opens another file for a source that may be in `registry`, and renames it there. Throws what
/// `IMediaSource::reconnect` throws, and "can't add source, one exists with that url" for a file that another
/// source has; nothing has changed then.
void reconnectSource(CMediaManager& registry, const IMediaSourceRef& source, const CURLRef& newURL);

/// Remembers, for a session, where files were found and which ones are not to be asked about. [main thread]
class OfflineReconnection {
public:
    explicit OfflineReconnection(CMediaManager& registry) : m_registry(registry) {}

    /// Looks for the file of each offline source: in its old place, in the folders where others were found,
    /// and where the resolver says. Returns how many sources are online again.
    std::size_t reconnectAll(OfflineFileResolver& resolver);

private:
    /// Where a file was found: in that very folder, or by a search of it.
    struct FoundFolder {
        std::string path;
        int depth;
        bool operator==(const FoundFolder&) const = default;
    };

    /// The listings of one call of `reconnectAll`: each folder is listed at most once, however many files are
    /// looked for.
    class Round;

    void remember(const FoundFolder& folder);

    CMediaManager& m_registry;
    std::vector<FoundFolder> m_foundFolders;
    std::set<CURLRef, CURLLess> m_stayingOffline;
};

}  // namespace marl
