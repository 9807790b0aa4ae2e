// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/IMediaSource.h>

#include <MarlCore/Files/browsing/NodeTypes.h>
#include <MarlCore/MediaManager/CFileAudioSource.h>
#include <MarlCore/MediaManager/CFileVideoSource.h>
#include <MarlCore/MediaManager/CMovieInstance.h>

namespace marl {
namespace {

/// False also for what cannot be read: its source says why.
bool isSoundOnly(const CURLRef& movieURL) {
    try {
        const CMovieInstanceRef movie(new CMovieInstance(movieURL, true, 0));
        return movie->hasSound() && !movie->hasVideo();
    } catch (const halyard::CException&) {
        return false;
    }
}

}  // namespace

IMediaSource* IMediaSource::New(const CURLRef& url, bool offline) {
    halyard::throwIfNull(url, "fileURL");
    const CStringRef path = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    const bool isMovie =
        path && NodeTypesHelper::nodeTypeFromPath(path->getStringRef()) == NodeTypesHelper::kMovie;
    if (isMovie && (offline || !isSoundOnly(url))) return new CFileVideoSource(url, offline);
    return new CFileAudioSource(url, offline);
}

CStringRef IMediaSource::getDisplayName() const {
    const CURLRef url = getURL();
    const CStringRef path = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    const CStringRef text = path ? path : halyard::asString(url->getUnescapedString());
    const std::string& name = text->getStringRef();
    return halyard::CSTR(name.substr(name.rfind('/') + 1));
}

}  // namespace marl
