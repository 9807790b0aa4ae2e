// SPDX-License-Identifier: MIT
/// \file
/// The video source over a movie file.
#pragma once

#include <MarlCore/MediaManager/CFileMediaSource.h>

namespace marl {

/// Keeps track of a movie's file for those who show it; it decodes nothing itself. [main thread]
class MARLCORE_EXPORT CFileVideoSource final : public CFileMediaSource {
public:
    /// As for `CFileAudioSource`. Throws `CParamException` "'%s' is no movie".
    CFileVideoSource(const CURLRef& url, bool offline);

    MediaKind getKind() const noexcept override { return MediaKind::kVideo; }
    void projectFormatDidChange() override {}

protected:
    void openFile(const CURLRef& url) override;
    void closeFile() noexcept override {}
};

using CFileVideoSourceRef = halyard::CSharedObjectRef<CFileVideoSource>;

}  // namespace marl
