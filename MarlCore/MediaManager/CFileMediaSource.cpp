// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/CFileMediaSource.h>

#include <filesystem>
#include <system_error>

namespace marl {
namespace {

using halyard::CException;

/// Bytes. Throws `CException` (file error) when there is no regular file, and `CParamException` for a URL
/// that names none of this machine.
std::uint64_t sizeOfFile(const CURLRef& url) {
    const CStringRef path = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    if (!path)
        throw halyard::CParamException(halyard::kParameterError, "'%s' names no file of this machine",
                                       halyard::asString(url->getString())->getCharPtr());
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path->getStringRef(), error);
    if (error) {
        CException exception(halyard::kFileIOError, error.value());
        exception.concatMessage("failed to find file '%s': %s", path->getCharPtr(), error.message().c_str());
        exception.Throw();
    }
    return size;
}

}  // namespace

CFileMediaSource::CFileMediaSource(const CURLRef& url) : m_url(url) {
    halyard::throwIfNull(url, "fileURL");
}

void CFileMediaSource::open(bool offline) {
    if (offline) return;
    try {
        reconnect(m_url);
    } catch (const CException& exception) {
        if (exception.getType() != halyard::kFileIOError) throw;
        m_offlineReason = exception.getMessage();
    }
}

void CFileMediaSource::reconnect(const CURLRef& newURL) {
    halyard::throwIfNull(newURL, "newURL");
    const CURLRef url = newURL;  // the caller's may be a part of what changes
    const std::uint64_t size = sizeOfFile(url);
    openFile(url);
    m_url = url;
    m_fileSize = size;
    m_isOffline = false;
    m_offlineReason.clear();
    didChange();
}

void CFileMediaSource::goOffline(const std::string& reason) {
    if (m_isOffline) return;
    willChange();
    m_offlineReason = reason;
    closeFile();
    m_isOffline = true;
    didChange();
}

bool CFileMediaSource::checkFile() {
    if (m_isOffline) return false;
    try {
        sizeOfFile(m_url);
    } catch (const CException& exception) {
        goOffline(exception.getMessage());
    }
    return !m_isOffline;
}

void CFileMediaSource::willChange() {
    if (auto* const wrapper = getObjectiveCWrapper()) wrapper->wrappedObjectWillChange();
}

void CFileMediaSource::didChange() {
    if (auto* const wrapper = getObjectiveCWrapper()) wrapper->wrappedObjectDidChange();
}

}  // namespace marl
