// SPDX-License-Identifier: MIT
/// \file
/// The interface of what a project plays and shows: one source a file.
#pragma once

#include <MarlCore/MediaManager/CObjectiveCWrappedObject.h>
#include <MarlCore/foundation/CURL.h>

#include <cstdint>
#include <optional>
#include <string>

namespace marl {

using halyard::CStringRef;

enum class MediaKind { kAudio, kVideo };

/// Media behind a URL. A source whose file is missing is *offline*: it stays in the project, is silent or
/// dark, and comes back with `reconnect`. It tells its wrapper before and after its file changes. [main
/// thread]
class MARLCORE_EXPORT IMediaSource : public CObjectiveCWrappedObject {
public:
    /// The source of the file at `url`, owned by nobody yet: put it into an `IMediaSourceRef` at once. A
    /// movie makes a `CFileVideoSource` unless it is seen to have sound and no picture; all else makes a
    /// `CFileAudioSource`. `offline`: the file is not looked for. Throws what their constructors throw.
    static IMediaSource* New(const CURLRef& url, bool offline);

    virtual CURLRef getURL() const = 0;
    virtual MediaKind getKind() const noexcept = 0;
    virtual bool isOffline() const noexcept = 0;
    /// What kept the file from being opened, or from staying open; empty when it was taken offline on
    /// request.
    virtual const std::string& getOfflineReason() const noexcept = 0;
    /// Bytes of the file when it was opened last; nothing when it never was.
    virtual std::optional<std::uint64_t> getFileSize() const noexcept = 0;

    /// Lets go of the file. Does nothing when the source is offline.
    virtual void goOffline() = 0;
    /// Goes offline when the file is gone from its place. Returns whether it is online.
    virtual bool checkFile() = 0;
    /// Opens the file at `newURL`, which from now on is the source's URL, and uses it in place of the one
    /// before. When it throws (the file cannot be opened, or is of another kind), everything stays as it is.
    virtual void reconnect(const CURLRef& newURL) = 0;
    /// Delivers the file in the format that `ProjectFormat::current()` now is.
    virtual void projectFormatDidChange() = 0;

    /// The name of the file.
    CStringRef getDisplayName() const;
};

using IMediaSourceRef = halyard::CSharedObjectRef<IMediaSource>;

}  // namespace marl
