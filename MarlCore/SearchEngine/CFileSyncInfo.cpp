// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CFileSyncInfo.h>

#include <MarlCore/foundation/CException.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace marl {

using halyard::CException;
using halyard::CParamException;

CFileSyncInfo::CFileSyncInfo(const char* fileName) {
    halyard::throwIfNull(fileName, "fileName");
    const std::size_t length = std::strlen(fileName);
    if (length > kSize)
        throw CParamException(halyard::kParameterError, "fileName (%s) is too long (%d bytes)", fileName,
                              static_cast<int>(length));
    m_isWhole = length < kSize;
    m_fileName.assign(fileName, std::min(length, kSize - 1));
}

CFileSyncInfo::CFileSyncInfo(const char* fileName, const FileStatus& status) : CFileSyncInfo(fileName) {
    m_isFile = status.isFile;
    m_modificationTime = status.modificationTime;
    m_device = status.device;
    m_number = status.number;
}

namespace {

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// What a name stands for; `error` is the errno of a stat that failed.
struct Item {
    int error = 0;
    struct stat status {};
};

struct Name {
    std::string text;
    bool isLink;
    Item item = {};  // unless it is a link
};

FileStatus fileStatus(const struct stat& status) noexcept {
    return {S_ISREG(status.st_mode), status.st_mtim.tv_sec, status.st_dev, status.st_ino};
}

Item itemOf(int folder, const char* path) {
    Item item;
    if (::fstatat(folder, path, &item.status, 0) != 0) item.error = errno;
    return item;
}

bool isLeftOut(const char* name) noexcept {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0 || std::strncmp(name, "._", 2) == 0;
}

std::string joined(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

/// One listing. Links wait until everything else is listed, so that a file keeps its own name rather than
/// that of a link to it.
class TreeWalk {
public:
    TreeWalk(std::set<CFileSyncInfo>& files, const WantedFile& wanted, const std::atomic<bool>& cancelled,
             ListingReport& report)
        : m_files(files), m_wanted(wanted), m_cancelled(cancelled), m_report(report) {}

    void run(const std::string& root) {
        struct stat status;
        if (::stat(root.c_str(), &status) == 0) m_folders.insert(identityOf(status));
        walk(root);
        // A link may lead to folders with further links.
        for (std::size_t i = 0; i < m_links.size() && !m_cancelled; ++i) {
            const std::string link = std::move(m_links[i]);
            addItem(link, true, itemOf(AT_FDCWD, link.c_str()));
        }
    }

private:
    using Identity = std::pair<std::uint64_t, std::uint64_t>;

    static Identity identityOf(const struct stat& status) noexcept { return {status.st_dev, status.st_ino}; }

    /// Reads a folder whole before it descends, so that depth costs no descriptors.
    void walk(const std::string& folder) {
        for (const Name& name : namesIn(folder)) {
            if (m_cancelled) return;
            const std::string path = joined(folder, name.text);
            if (name.isLink)
                m_links.push_back(path);
            else
                addItem(path, false, name.item);
        }
    }

    /// In order, with what they stand for: the open folder is a shorter way there than its path.
    std::vector<Name> namesIn(const std::string& folder) {
        std::vector<Name> names;
        const std::unique_ptr<DIR, FolderCloser> stream(::opendir(folder.c_str()));
        if (!stream) {
            addUnreadable(folder, errno);
            return names;
        }
        errno = 0;
        while (const dirent* const entry = ::readdir(stream.get())) {
            if (!isLeftOut(entry->d_name)) names.push_back({entry->d_name, isLink(folder, *entry)});
            errno = 0;
        }
        if (errno != 0) addUnreadable(folder, errno);
        std::ranges::sort(names, {}, &Name::text);
        for (Name& name : names)
            if (!name.isLink) name.item = itemOf(::dirfd(stream.get()), name.text.c_str());
        return names;
    }

    static bool isLink(const std::string& folder, const dirent& entry) {
        if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_LNK;
        struct stat status;
        return ::lstat(joined(folder, entry.d_name).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    }

    void addItem(const std::string& path, bool isLink, const Item& item) {
        if (item.error != 0) return addUnknown(path, isLink, item.error);
        if (S_ISDIR(item.status.st_mode)) {
            if (m_folders.insert(identityOf(item.status)).second && isShort(path)) walk(path);
        } else if (S_ISREG(item.status.st_mode) && m_wanted(path, isLink)) {
            addFile(path, item.status, isLink);
        }
    }

    void addUnknown(const std::string& path, bool isLink, int error) {
        std::printf("stat error = '%s' (#%d)\n", std::strerror(error), error);
        if (isLink) {
            ++m_report.danglingLinks;
            m_report.unknownFolders.insert(path);
        } else if (!isGone(error)) {
            addUnreadable(path.substr(0, path.rfind('/')), error);
        }
    }

    /// Whether an item is no more, or never was, rather than out of reach.
    static bool isGone(int error) noexcept {
        return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
    }

    void addUnreadable(const std::string& folder, int error) {
        if (m_report.unknownFolders.insert(folder).second)
            m_report.unreadableFolders.push_back({folder, std::strerror(error)});
    }

    /// Nothing below a folder with a longer path can have a record. That also ends any tree.
    bool isShort(const std::string& path) {
        if (path.size() < CFileSyncInfo::kSize) return true;
        m_report.refusedFiles.push_back({path, "the path is too long"});
        return false;
    }

    void addFile(const std::string& path, const struct stat& status, bool isLink) {
        try {
            const CFileSyncInfo file(path.c_str(), fileStatus(status));
            if (!file.validFile())
                m_report.refusedFiles.push_back({path, "the path is too long"});
            else if (isNewIdentity(file, isLink) || !isLink)
                m_files.insert(file);
        } catch (const CException& exception) {
            m_report.refusedFiles.push_back({path, exception.getMessage()});
        }
    }

    /// Most trees have no links, and need no list of identities: it begins with the first link.
    bool isNewIdentity(const CFileSyncInfo& file, bool isLink) {
        if (!m_identities && !isLink) return true;
        if (!m_identities) {
            m_identities.emplace();
            for (const CFileSyncInfo& listed : m_files) m_identities->insert(listed.getIdentity());
        }
        return m_identities->insert(file.getIdentity()).second;
    }

    std::set<CFileSyncInfo>& m_files;
    const WantedFile& m_wanted;
    const std::atomic<bool>& m_cancelled;
    ListingReport& m_report;
    std::set<Identity> m_folders;  // that were met
    std::vector<std::string> m_links;
    std::optional<std::set<Identity>> m_identities;  // of the files that are listed
};

}  // namespace

void getFileSyncInfoSet(const char* directory, std::set<CFileSyncInfo>& files, const WantedFile& wanted,
                        const std::atomic<bool>& cancelled, ListingReport& report) {
    halyard::throwIfNull(directory, "directory");
    TreeWalk(files, wanted, cancelled, report).run(directory);
}

}  // namespace marl
