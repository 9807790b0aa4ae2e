// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/FolderListing.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include <sys/stat.h>

namespace marl {

namespace fs = std::filesystem;

/// What is still to be listed, and what was.
struct FolderListing::Walk {
    struct Folder {
        std::string path;
        int depth;  // folders above it, up to the first one
    };

    /// Whether this folder comes up for the first time, by whichever path.
    bool isNew(const std::string& folder) {
        struct stat status {};
        return ::stat(folder.c_str(), &status) != 0 || seen.emplace(status.st_dev, status.st_ino).second;
    }

    Limits limits;
    std::deque<Folder> waiting;
    std::set<std::pair<dev_t, ino_t>> seen;
    std::size_t entries = 0;
};

namespace {

/// Links count as what they lead to. In the order of their names, to give the same listing every time.
std::vector<fs::directory_entry> entriesOf(const std::string& folder, std::size_t most,
                                           std::error_code& error) {
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        entries.push_back(*entry);
        if (entries.size() >= most) break;
    }
    std::ranges::sort(entries, {}, [](const fs::directory_entry& entry) { return entry.path().native(); });
    return entries;
}

}  // namespace

FolderListing::FolderListing(const std::string& folder, Limits limits, const WillList& willList) {
    Walk walk{limits, {{folder, 0}}, {}};
    while (!walk.waiting.empty() && m_isComplete) {
        const Walk::Folder next = walk.waiting.front();
        walk.waiting.pop_front();
        if (!walk.isNew(next.path)) continue;
        if (willList && !willList(next.path))
            m_isComplete = false;
        else
            listFolder(walk, next.path, next.depth);
    }
}

void FolderListing::listFolder(Walk& walk, const std::string& folder, int depth) {
    std::error_code error;
    const auto entries = entriesOf(folder, walk.limits.entries - walk.entries, error);
    if (error) m_unreadable.push_back(folder);
    walk.entries += entries.size();
    if (walk.entries >= walk.limits.entries) m_isComplete = false;
    for (const fs::directory_entry& entry : entries) {
        const std::string name = entry.path().filename().string();
        std::error_code isDangling;
        if (!entry.is_directory(isDangling))
            m_paths[name].push_back(entry.path().string());
        else if (!name.starts_with('.') && depth < walk.limits.depth)
            walk.waiting.push_back({entry.path().string(), depth + 1});
    }
}

std::vector<std::string> FolderListing::find(const std::string& name,
                                             std::optional<std::uint64_t> size) const {
    std::vector<std::string> found;
    const auto paths = m_paths.find(name);
    if (paths == m_paths.end()) return found;
    for (const std::string& path : paths->second) {
        std::error_code error;  // also where it is no regular file
        const std::uintmax_t there = fs::file_size(path, error);
        if (!error && (!size || there == *size)) found.push_back(path);
    }
    return found;
}

}  // namespace marl
