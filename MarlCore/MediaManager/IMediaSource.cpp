// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/IMediaSource.h>

#include <MarlCore/Files/browsing/NodeTypes.h>
#include <MarlCore/MediaManager/CFileAudioSource.h>
#include <MarlCore/MediaManager/CFileVideoSource.h>

namespace marl {

IMediaSource* IMediaSource::New(const CURLRef& url, bool offline) {
    halyard::throwIfNull(url, "fileURL");
    const CStringRef path = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    const bool isMovie =
        path && NodeTypesHelper::nodeTypeFromPath(path->getStringRef()) == NodeTypesHelper::kMovie;
    if (isMovie) return new CFileVideoSource(url, offline);
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
