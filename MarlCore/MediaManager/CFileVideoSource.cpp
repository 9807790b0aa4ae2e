// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/CFileVideoSource.h>

#include <MarlCore/Files/browsing/NodeTypes.h>

namespace marl {

CFileVideoSource::CFileVideoSource(const CURLRef& url, bool offline) : CFileMediaSource(url) {
    open(offline);
}

/// The caller has seen that the file is there.
void CFileVideoSource::openFile(const CURLRef& url) {
    const CStringRef path = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    if (NodeTypesHelper::nodeTypeFromPath(path->getStringRef()) != NodeTypesHelper::kMovie)
        throw halyard::CParamException(halyard::kParameterError, "'%s' is no movie", path->getCharPtr());
    willChange();
}

}  // namespace marl
