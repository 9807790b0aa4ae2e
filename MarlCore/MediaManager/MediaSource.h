// SPDX-License-Identifier: MIT
/// \file
/// A media source as a host sees it.
#pragma once

#include <MarlCore/MediaManager/IMediaSource.h>

#include <memory>
#include <string>

namespace marl {

class MediaSource;
using MediaSourcePtr = std::shared_ptr<MediaSource>;

/// Wraps an `IMediaSource` and shares its ownership. There is one wrapper a source as long as anybody holds
/// it. Throws `platform::Exception`. [main thread]
class MARLCORE_EXPORT MediaSource : public CObjectiveCWrappedObject::Wrapper,
                                    public std::enable_shared_from_this<MediaSource> {
public:
    /// The wrapper that the source has, or a new `AudioSource` or `VideoSource`. Throws for null, and for a
    /// source that is neither a `CFileAudioSource` nor a `CFileVideoSource`.
    static MediaSourcePtr wrapperOf(const IMediaSourceRef& source);

    ~MediaSource() override;

    /// A reference of its own: who hears of a change of the source may drop the wrapper meanwhile.
    IMediaSourceRef mediaSourceRef() const noexcept { return m_source; }
    platform::URL URL() const;
    std::string displayName() const;
    bool isAudio() const noexcept { return m_source->getKind() == MediaKind::kAudio; }
    bool isOffline() const noexcept { return m_source->isOffline(); }
    /// See `IMediaSource`.
    void goOffline();
    bool checkFile();

protected:
    /// Becomes the wrapper of `source`, which is not null.
    explicit MediaSource(const IMediaSourceRef& source);

private:
    IMediaSourceRef m_source;
};

}  // namespace marl
