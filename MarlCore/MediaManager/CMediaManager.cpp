// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/CMediaManager.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace marl {
namespace {

using halyard::CParamException;
using halyard::kParameterError;

CMediaManager* g_sharedManager = nullptr;

/// The one URL that stands for all spellings of a file. What is not there, or cannot be looked at, is taken
/// as it is spelt; URLs of no file of this machine stay as they are.
CURLRef resolved(const CURLRef& url) {
    halyard::throwIfNull(url, "url");
    const CStringRef given = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    if (!given) return url;
    const std::filesystem::path path = given->getStringRef();
    std::error_code error;
    const std::filesystem::path onDisk = std::filesystem::weakly_canonical(path, error);
    std::filesystem::path best = error ? path.lexically_normal() : onDisk;
    if (!best.has_filename() && best.has_relative_path()) best = best.parent_path();  // was "…/."
    return CURLRef(new CURL(platform::URL::fromPath(best.string(), false)));
}

void requireSource(const IMediaSourceRef& source) {
    if (!source) throw CParamException(kParameterError, "AudioSource is NULL");
}

[[noreturn]] void refuseSecondSource() {
    throw CParamException(kParameterError, "can't add source, one exists with that url");
}

}  // namespace

CMediaManager::CMediaManager() {
    if (g_sharedManager)
        throw CParamException(kParameterError, "OI OI OI! CAN'T SET ANOTHER GLOBAL CMEDIAMANAGER");
    g_sharedManager = this;
}

CMediaManager::~CMediaManager() {
    if (g_sharedManager == this) g_sharedManager = nullptr;
}

CMediaManager* CMediaManager::getSharedCMediaManager() noexcept {
    return g_sharedManager;
}

void CMediaManager::setSharedCMediaManager(CMediaManager* manager) noexcept {
    g_sharedManager = manager;
}

CMediaManager::SourceMap::const_iterator CMediaManager::find(const CURLRef& url, const CURLRef& key) const {
    if (const auto entry = m_sources.find(key); entry != m_sources.end()) return entry;
    const auto second = std::ranges::find_if(m_sources, [&](const auto& entry) {
        return entry.second.secondURL && *entry.second.secondURL == *key;
    });
    if (second != m_sources.end()) return second;
    return std::ranges::find_if(m_sources,
                                [&](const auto& entry) { return *entry.second.source->getURL() == *url; });
}

CMediaManager::SourceMap::const_iterator CMediaManager::findSource(const IMediaSourceRef& source) const {
    return std::ranges::find_if(m_sources, [&](const auto& entry) { return entry.second.source == source; });
}

bool CMediaManager::haveSourceWithURL(CURLRef url, CURLRef) const {
    return find(url, resolved(url)) != m_sources.end();
}

IMediaSourceRef CMediaManager::getSource(CURLRef url, CURLRef secondURL, bool offline) {
    const CURLRef key = resolved(url);
    if (const auto entry = find(url, key); entry != m_sources.end()) return entry->second.source;
    const IMediaSourceRef source(IMediaSource::New(url, offline));
    m_sources.emplace(key, CSourceMapMember{source, secondURL ? resolved(secondURL) : nullptr});
    return source;
}

void CMediaManager::addSource(const IMediaSourceRef& source) {
    requireSource(source);
    const CURLRef url = source->getURL();
    const CURLRef key = resolved(url);
    if (find(url, key) != m_sources.end()) refuseSecondSource();
    m_sources.emplace(key, CSourceMapMember{source, key});
}

void CMediaManager::removeSource(IMediaSourceRef source, bool) {
    requireSource(source);
    // The source itself comes first: what its URL resolves to may have changed since it was entered.
    auto entry = findSource(source);
    if (entry == m_sources.end()) entry = m_sources.find(resolved(source->getURL()));
    if (entry != m_sources.end()) m_sources.erase(entry);
}

void CMediaManager::renameSource(IMediaSourceRef source, const CURLRef& newURL) {
    requireSource(source);
    const CURLRef key = resolved(newURL);
    const auto there = find(newURL, key);
    if (there != m_sources.end() && there->second.source != source) refuseSecondSource();
    CURLRef secondURL = key;
    if (const auto before = findSource(source); before != m_sources.end()) {
        secondURL = CURLLess()(before->first, key) || CURLLess()(key, before->first)
                        ? before->first
                        : before->second.secondURL;
        m_sources.erase(before);
    }
    m_sources.emplace(key, CSourceMapMember{source, secondURL});
}

IMediaSourceRef CMediaManager::getMapSourceAtIndex(unsigned long index) const {
    if (index >= m_sources.size())
        throw CParamException(kParameterError, "there is no source %lu of %lu", index,
                              numberOfMappedSources());
    return std::next(m_sources.begin(), static_cast<std::ptrdiff_t>(index))->second.source;
}

}  // namespace marl
