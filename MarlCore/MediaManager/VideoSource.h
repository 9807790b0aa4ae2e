// SPDX-License-Identifier: MIT
/// \file
/// A video source as a host sees it.
#pragma once

#include <MarlCore/MediaManager/CFileVideoSource.h>
#include <MarlCore/MediaManager/MediaSource.h>

namespace marl {

/// Wraps a `CFileVideoSource`. Posts `MarlCoreVideoSourceWillGoOfflineNotification` before its file is let go
/// of, and `MarlCoreVideoSourceDidGoOnlineNotification` once a file is there, about itself (as `const
/// MediaSource*`): who shows the movie closes and opens it then. [main thread]
class MARLCORE_EXPORT VideoSource final : public MediaSource {
public:
    /// Throws `platform::Exception` for null.
    explicit VideoSource(const CFileVideoSourceRef& source) : MediaSource(source) {}

    void wrappedObjectWillChange() override;
    void wrappedObjectDidChange() override;
};

}  // namespace marl
