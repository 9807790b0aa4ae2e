// SPDX-License-Identifier: MIT
/// \file
/// The media of a project as a host sees them.
#pragma once

#include <MarlCore/MediaManager/CMediaManager.h>
#include <MarlCore/MediaManager/MediaSource.h>
#include <MarlCore/MediaManager/OfflineFileResolver.h>
#include <MarlCore/MediaManager/ProjectFormat.h>

#include <memory>
#include <optional>
#include <vector>

namespace marl {

class OfflineReconnection;

/// Opens the sources of a project, each file once, and finds files again that were moved. It makes the
/// `CMediaManager` of the process: one is there at a time. Throws `platform::Exception`. [main thread]
class MARLCORE_EXPORT MediaManager {
public:
    MediaManager();
    MediaManager(const MediaManager&) = delete;
    MediaManager& operator=(const MediaManager&) = delete;
    ~MediaManager();

    const CMediaManagerRef& managerRef() const noexcept { return m_manager; }

    /// The source of the file at `url`, opened when nobody has it yet, in the project's format; offline when
    /// the file is missing. `secondURL` is another one that it is found under from then on, that of the
    /// document for one.
    MediaSourcePtr sourceWithURL(const platform::URL& url,
                                 const std::optional<platform::URL>& secondURL = std::nullopt);
    bool haveSourceWithURL(const platform::URL& url) const;
    /// The source goes once nobody holds it any more.
    void removeSource(const MediaSource& source);
    std::vector<MediaSourcePtr> sources() const;

    const ProjectFormat& projectFormat() const noexcept { return ProjectFormat::current(); }
    /// Delivers all sources in another format, those that are open by reading their files anew; one whose
    /// file is not to be had in that format goes offline. See `ProjectFormat` for what it may be.
    void setProjectFormat(const ProjectFormat& format);

    /// Takes the sources offline whose files are gone from their places. Returns how many are offline now.
    std::size_t checkFiles();
    /// Tries to get the sources online whose files are missing: first in their old places and in the folders
    /// where others were found in this manager's time, then with the help of a person. A file is told by its
    /// name and its size, or by the name alone where the size was never known. Each source that is online
    /// again is posted as `MarlDidReconnectMediaSource`. Returns how many there are.
    std::size_t reconnectOfflineSources(OfflineFileResolver& resolver);
    /// Opens another file for a source, which goes by that URL from now on. When it throws (the file cannot
    /// be opened, or has a source already), everything stays as it is. Posts `MarlDidReconnectMediaSource`,
    /// about the source (as `const CObjectiveCWrappedObject::Wrapper*`).
    void reconnect(MediaSource& source, const platform::URL& newURL);

private:
    CMediaManagerRef m_manager;
    std::unique_ptr<OfflineReconnection> m_reconnection;
};

}  // namespace marl
