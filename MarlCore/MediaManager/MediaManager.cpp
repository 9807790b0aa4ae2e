// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/MediaManager.h>

#include <MarlCore/MediaManager/OfflineReconnectionImpl.h>
#include <MarlCore/MediaManager/RaisingImpl.h>

namespace marl {
namespace {

CURLRef refOf(const platform::URL& url) {
    return CURLRef(new CURL(url));
}

/// Those of the moment: what is done to one may change the registry.
std::vector<IMediaSourceRef> sourcesOf(const CMediaManager& manager) {
    std::vector<IMediaSourceRef> sources;
    for (unsigned long i = 0; i < manager.numberOfMappedSources(); ++i)
        sources.push_back(manager.getMapSourceAtIndex(i));
    return sources;
}

}  // namespace

MediaManager::MediaManager()
    : m_manager(raising([] { return CMediaManagerRef(new CMediaManager); })),
      m_reconnection(std::make_unique<OfflineReconnection>(*m_manager)) {}

MediaManager::~MediaManager() = default;

MediaSourcePtr MediaManager::sourceWithURL(const platform::URL& url,
                                           const std::optional<platform::URL>& secondURL) {
    return raising([&] {
        const CURLRef second = secondURL ? refOf(*secondURL) : nullptr;
        return MediaSource::wrapperOf(m_manager->getSource(refOf(url), second, false));
    });
}

bool MediaManager::haveSourceWithURL(const platform::URL& url) const {
    return raising([&] { return m_manager->haveSourceWithURL(refOf(url), nullptr); });
}

void MediaManager::removeSource(const MediaSource& source) {
    raising([&] { m_manager->removeSource(source.mediaSourceRef(), false); });
}

std::vector<MediaSourcePtr> MediaManager::sources() const {
    return raising([&] {
        std::vector<MediaSourcePtr> wrappers;
        for (const IMediaSourceRef& source : sourcesOf(*m_manager))
            wrappers.push_back(MediaSource::wrapperOf(source));
        return wrappers;
    });
}

void MediaManager::setProjectFormat(const ProjectFormat& format) {
    if (format == ProjectFormat::current()) return;
    raising([&] {
        ProjectFormat::setCurrent(format);
        for (const IMediaSourceRef& source : sourcesOf(*m_manager)) source->projectFormatDidChange();
    });
}

std::size_t MediaManager::checkFiles() {
    return raising([&] {
        std::size_t missing = 0;
        for (const IMediaSourceRef& source : sourcesOf(*m_manager)) missing += source->checkFile() ? 0 : 1;
        return missing;
    });
}

std::size_t MediaManager::reconnectOfflineSources(OfflineFileResolver& resolver) {
    return raising([&] { return m_reconnection->reconnectAll(resolver); });
}

void MediaManager::reconnect(MediaSource& source, const platform::URL& newURL) {
    raising([&] { reconnectSource(*m_manager, source.mediaSourceRef(), refOf(newURL)); });
}

}  // namespace marl
