// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/OfflineReconnectionImpl.h>

#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/platform/NotificationCenter.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <utility>

namespace marl {
namespace {

platform::URL urlOf(const CURLRef& url) {
    return platform::URL::fromString(halyard::asString(url->getString())->getStringRef());
}

MissingFile descriptionOf(const IMediaSource& source) {
    return {urlOf(source.getURL()), source.getDisplayName()->getStringRef(), source.getFileSize(),
            source.getKind() == MediaKind::kVideo, source.getOfflineReason()};
}

std::vector<IMediaSourceRef> offlineSources(const CMediaManager& registry) {
    std::vector<IMediaSourceRef> sources;
    for (unsigned long i = 0; i < registry.numberOfMappedSources(); ++i)
        if (IMediaSourceRef source = registry.getMapSourceAtIndex(i); source->isOffline())
            sources.push_back(std::move(source));
    return sources;
}

/// How many components, from the name of the file up, two paths have in common.
std::ptrdiff_t commonEnd(const std::filesystem::path& a, const std::filesystem::path& b) {
    const std::vector<std::filesystem::path> first(a.begin(), a.end()), second(b.begin(), b.end());
    return std::mismatch(first.rbegin(), first.rend(), second.rbegin(), second.rend()).first - first.rbegin();
}

/// The files in `files` that may be this one. Folders often move with what is in them, so those come first
/// that lie in folders of the same names: "Drums/Audio 1.wav" is not "Bass/Audio 1.wav", long as they both
/// are.
std::vector<std::string> candidatesFor(const MissingFile& file, const FolderListing& files) {
    std::vector<std::string> candidates = files.find(file.displayName, file.size);
    const std::string missing = file.url.path().value_or("");
    std::ranges::stable_sort(candidates, std::greater<>(),
                             [&](const std::string& path) { return commonEnd(path, missing); });
    return candidates;
}

}  // namespace

void reconnectSource(CMediaManager& registry, const IMediaSourceRef& source, const CURLRef& newURL) {
    const bool isTaken =
        registry.haveSourceWithURL(newURL, newURL) && registry.getSource(newURL, newURL, false) != source;
    if (isTaken)
        throw halyard::CParamException(halyard::kParameterError,
                                       "can't add source, one exists with that url");
    const CURLRef url = newURL;  // the caller's may be a part of what changes
    try {
        source->reconnect(url);
    } catch (...) {
        // Somebody who was told of the change has thrown: the change stands.
        if (!source->isOffline() && *source->getURL() == *url) registry.renameSource(source, url);
        throw;
    }
    registry.renameSource(source, url);
    platform::NotificationCenter::defaultCenter().postNotification(MarlDidReconnectMediaSource,
                                                                   source->getObjectiveCWrapper());
}

class OfflineReconnection::Round {
public:
    Round(OfflineReconnection& session, OfflineFileResolver& resolver)
        : m_session(session), m_resolver(resolver) {}

    bool reconnect(const IMediaSourceRef& source) {
        const MissingFile file = descriptionOf(*source);
        return isBack(source, file) || isWhereOthersWere(source, file) ||
               isWhereTheResolverSays(source, file);
    }

private:
    bool isBack(const IMediaSourceRef& source, const MissingFile& file) {
        const auto path = file.url.path();
        std::error_code error;
        return path && std::filesystem::is_regular_file(*path, error) && use(source, file, *path);
    }

    bool isWhereOthersWere(const IMediaSourceRef& source, const MissingFile& file) {
        const std::vector<FoundFolder> folders = m_session.m_foundFolders;
        return std::ranges::any_of(folders, [&](const FoundFolder& folder) {
            const auto candidates = candidatesFor(file, listing(folder));
            return isTheOne(file, candidates) && useOneOf(source, file, candidates);
        });
    }

    bool isWhereTheResolverSays(const IMediaSourceRef& source, const MissingFile& file) {
        if (m_session.m_stayingOffline.contains(source->getURL())) return false;
        for (;;) {
            const auto [action, path] = m_resolver.resolveMissingFile(file);
            switch (action) {
                case OfflineFileResolver::Action::kLocate:
                    if (!use(source, file, path)) break;
                    m_session.remember({std::filesystem::path(path).parent_path().string(), 0});
                    return true;
                case OfflineFileResolver::Action::kSearchFolder:
                    if (!search(source, file, {path, FolderListingLimits{}.depth})) break;
                    return true;
                case OfflineFileResolver::Action::kStayOffline:
                    m_session.m_stayingOffline.insert(source->getURL());
                    return false;
                case OfflineFileResolver::Action::kSkip:
                    return false;
            }
        }
    }

    bool search(const IMediaSourceRef& source, const MissingFile& file, const FoundFolder& folder) {
        const FolderListing& files = listing(folder);
        const auto candidates = candidatesFor(file, files);
        if (!isTheOne(file, candidates)) {
            m_resolver.searchWasInVain(file, candidates, files.isComplete());
            m_listings.erase(folder.path);  // whoever asks for it again has changed something
            return false;
        }
        if (!useOneOf(source, file, candidates)) return false;
        m_session.remember(folder);
        return true;
    }

    /// Files of the same name and size are copies; of the same name alone they may be anything.
    static bool isTheOne(const MissingFile& file, const std::vector<std::string>& candidates) {
        return file.size ? !candidates.empty() : candidates.size() == 1;
    }

    bool useOneOf(const IMediaSourceRef& source, const MissingFile& file,
                  const std::vector<std::string>& paths) {
        return std::ranges::any_of(paths, [&](const std::string& path) { return use(source, file, path); });
    }

    bool use(const IMediaSourceRef& source, const MissingFile& file, const std::string& path) {
        try {
            const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
            reconnectSource(m_session.m_registry, source, url);
        } catch (const halyard::CException& exception) {
            m_resolver.fileIsNotUsable(file, path, exception.getMessage());
            return false;
        }
        m_resolver.didReconnect(file, urlOf(source->getURL()));
        return true;
    }

    const FolderListing& listing(const FoundFolder& folder) {
        const auto found = m_listings.find(folder.path);
        if (found != m_listings.end() && found->second.depth >= folder.depth) return found->second.files;
        FolderListingLimits limits;
        limits.depth = folder.depth;
        FolderListing files(folder.path, limits,
                            [this](const std::string& path) { return m_resolver.willSearchFolder(path); });
        for (const std::string& path : files.unreadableFolders()) m_resolver.folderIsUnreadable(path);
        return m_listings.insert_or_assign(folder.path, Listed{folder.depth, std::move(files)})
            .first->second.files;
    }

    struct Listed {
        int depth;
        FolderListing files;
    };

    OfflineReconnection& m_session;
    OfflineFileResolver& m_resolver;
    std::map<std::string, Listed> m_listings;
};

std::size_t OfflineReconnection::reconnectAll(OfflineFileResolver& resolver) {
    Round round(*this, resolver);
    const std::vector<IMediaSourceRef> sources = offlineSources(m_registry);
    return static_cast<std::size_t>(std::ranges::count_if(
        sources, [&](const IMediaSourceRef& source) { return round.reconnect(source); }));
}

void OfflineReconnection::remember(const FoundFolder& folder) {
    if (std::ranges::find(m_foundFolders, folder) == m_foundFolders.end()) m_foundFolders.push_back(folder);
}

}  // namespace marl
