// SPDX-License-Identifier: MIT
/// \file
/// The registry of media sources.
#pragma once

#include <MarlCore/MediaManager/IMediaSource.h>

#include <map>

namespace marl {

/// A strict order of URLs in which two are equivalent just when they are equal; null comes first.
struct MARLCORE_EXPORT CURLLess {
    bool operator()(const CURLRef& a, const CURLRef& b) const { return a && b ? *a < *b : !a && b; }
};

/// Keeps one source a file, so that all who open a file share one source and what it has in memory. Sources
/// live at least until they are removed.
///
/// A file has one place in here however its URL is spelt: with escapes, "." and "..", trailing slashes or
/// links on the way. For that URLs are resolved on disk; a path through ".." cannot be told without. A source
/// is also found under a second URL, under which it was once asked for, and under the one that it has itself,
/// should the links that led there have gone.
///
/// Throws `CParamException` where something is wrong, "Error: url is null!" among it. [main thread]
class MARLCORE_EXPORT CMediaManager : public halyard::CSharedObject {
public:
    /// Becomes the shared manager. Throws "OI OI OI! CAN'T SET ANOTHER GLOBAL CMEDIAMANAGER" when there is
    /// one.
    CMediaManager();
    /// The sources go, unless others hold them; when this is the shared manager, there is none any more.
    ~CMediaManager() override;

    /// Null until a manager is made.
    static CMediaManager* getSharedCMediaManager() noexcept;
    /// Does not own it.
    static void setSharedCMediaManager(CMediaManager* manager) noexcept;

    /// Whether `getSource` would find one. `secondURL` takes no part in it and may be null.
    bool haveSourceWithURL(CURLRef url, CURLRef secondURL) const;
    /// The source of the file at `url`. Where there is none, `IMediaSource::New(url, offline)` makes it, and
    /// from then on it is also found under `secondURL` (may be null).
    IMediaSourceRef getSource(CURLRef url, CURLRef secondURL, bool offline);
    /// Enters a source under its URL. Throws "can't add source, one exists with that url".
    void addSource(const IMediaSourceRef& source);
    /// Takes the source out, or, where it is not in here, the one with its URL; there may be none. Throws
    /// "AudioSource is NULL" for null. The flag has no meaning any more.
    void removeSource(IMediaSourceRef source, bool);
    /// Enters the source, which need not be in here yet, under `newURL`, and nowhere else. The URL that it
    /// had in here becomes its second one, so that those who still ask for that (more regions of a document,
    /// for one) get the same source. The source's own URL stays: see `IMediaSource::reconnect`. Throws
    /// "AudioSource is NULL", and "can't add source, one exists with that url" when another source is found
    /// there; nothing has changed then.
    void renameSource(IMediaSourceRef source, const CURLRef& newURL);

    unsigned long numberOfMappedSources() const noexcept { return m_sources.size(); }
    /// The sources in the order of the map, which says nothing about them. Throws `CParamException` for an
    /// index that there is not.
    IMediaSourceRef getMapSourceAtIndex(unsigned long index) const;

private:
    struct CSourceMapMember {
        IMediaSourceRef source;
        CURLRef secondURL;  // resolved; may be null
    };
    using SourceMap = std::map<CURLRef, CSourceMapMember, CURLLess>;

    /// `key`: `url` resolved.
    SourceMap::const_iterator find(const CURLRef& url, const CURLRef& key) const;
    SourceMap::const_iterator findSource(const IMediaSourceRef& source) const;

    SourceMap m_sources;  // by resolved URL
};

using CMediaManagerRef = halyard::CSharedObjectRef<CMediaManager>;

}  // namespace marl
