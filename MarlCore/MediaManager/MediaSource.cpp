// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/MediaSource.h>

#include <MarlCore/MediaManager/AudioSource.h>
#include <MarlCore/MediaManager/RaisingImpl.h>
#include <MarlCore/MediaManager/VideoSource.h>

namespace marl {
namespace {

MediaSourcePtr newWrapper(const IMediaSourceRef& source) {
    if (auto* const audio = source.dynamicCast<CFileAudioSource>())
        return std::make_shared<AudioSource>(audio);
    if (auto* const video = source.dynamicCast<CFileVideoSource>())
        return std::make_shared<VideoSource>(video);
    throw halyard::CParamException(halyard::kParameterError, "there is no wrapper for this kind of source");
}

}  // namespace

MediaSourcePtr MediaSource::wrapperOf(const IMediaSourceRef& source) {
    return raising([&] {
        halyard::throwIfNull(source, "source");
        auto* const wrapper = dynamic_cast<MediaSource*>(source->getObjectiveCWrapper());
        const MediaSourcePtr held = wrapper ? wrapper->weak_from_this().lock() : nullptr;
        return held ? held : newWrapper(source);
    });
}

MediaSource::MediaSource(const IMediaSourceRef& source) : m_source(source) {
    raising([&] { halyard::throwIfNull(source, "source"); });
    m_source->setObjectiveCWrapper(this);
}

MediaSource::~MediaSource() {
    m_source->removeObjectiveCWrapper(*this);
}

platform::URL MediaSource::URL() const {
    return raising([&] {
        const CURLRef url = m_source->getURL();
        return platform::URL::fromString(halyard::asString(url->getString())->getStringRef());
    });
}

std::string MediaSource::displayName() const {
    return raising([&] { return m_source->getDisplayName()->getStringRef(); });
}

void MediaSource::goOffline() {
    raising([source = m_source] { source->goOffline(); });
}

bool MediaSource::checkFile() {
    return raising([source = m_source] { return source->checkFile(); });
}

}  // namespace marl
