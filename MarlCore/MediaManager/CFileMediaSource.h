// SPDX-License-Identifier: MIT
/// \file
/// What sources of files have in common.
#pragma once

#include <MarlCore/MediaManager/IMediaSource.h>

namespace marl {

/// Knows where its file is, and whether it is there. [main thread]
class MARLCORE_EXPORT CFileMediaSource : public IMediaSource {
public:
    CURLRef getURL() const override { return m_url; }
    bool isOffline() const noexcept override { return m_isOffline; }
    const std::string& getOfflineReason() const noexcept override { return m_offlineReason; }
    std::optional<std::uint64_t> getFileSize() const noexcept override { return m_fileSize; }
    void goOffline() override { goOffline(""); }
    bool checkFile() override;
    void reconnect(const CURLRef& newURL) override;

protected:
    /// Throws "Error: fileURL is null!".
    explicit CFileMediaSource(const CURLRef& url);

    /// For the constructors of derived classes: opens the file unless `offline`. A file that the system does
    /// not give (it is missing, for one) leaves the source offline; one that holds something else throws.
    void open(bool offline);
    void goOffline(const std::string& reason);

    /// Opens the file at `url` and then, with nothing left to fail, calls `willChange` and uses it.
    virtual void openFile(const CURLRef& url) = 0;
    virtual void closeFile() noexcept = 0;

    void willChange();
    void didChange();

private:
    CURLRef m_url;
    bool m_isOffline = true;
    std::string m_offlineReason;
    std::optional<std::uint64_t> m_fileSize;
};

}  // namespace marl
