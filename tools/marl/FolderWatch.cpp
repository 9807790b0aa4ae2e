// SPDX-License-Identifier: MIT
#include "marl/FolderWatch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace marl::tool {
namespace {

constexpr std::uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE |
                                  IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;

/// File systems on which others change files without this machine's knowledge: statfs(2).
constexpr std::array<std::uint32_t, 8> kSharedFileSystems{0x6969,       // NFS
                                                          0x517B,       // SMB
                                                          0xFF534D42,   // CIFS
                                                          0xFE534D42,   // SMB2
                                                          0x01021997,   // 9P
                                                          0x65735546,   // FUSE
                                                          0x5346414F,   // AFS
                                                          0x00C36400};  // Ceph

bool isShared(const std::string& path) {
    struct statfs status;
    return ::statfs(path.c_str(), &status) == 0 &&
           std::ranges::find(kSharedFileSystems, static_cast<std::uint32_t>(status.f_type)) !=
               kSharedFileSystems.end();
}

/// Whether there may be a folder, or a file that lies elsewhere.
bool mayHaveToBeWatched(const dirent& entry) noexcept {
    const bool isKnown = entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK;
    if (isKnown && entry.d_type != DT_DIR) return false;
    return std::strcmp(entry.d_name, ".") != 0 && std::strcmp(entry.d_name, "..") != 0;
}

bool isSameItem(const struct stat& a, const struct stat& b) noexcept {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isLink(const std::string& path, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_LNK;
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

}  // namespace

/// A number of the system's that is given back.
class FolderWatch::Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    void take(int descriptor) {
        close();
        m_descriptor = descriptor;
    }
    int get() const noexcept { return m_descriptor; }

private:
    void close() const {
        if (m_descriptor >= 0) ::close(m_descriptor);
    }

    int m_descriptor;
};

/// The watches of one tree.
class FolderWatch::Tree {
public:
    Tree(std::string root, std::string leftOut) : m_root(std::move(root)), m_leftOut(std::move(leftOut)) {
        renew();
    }

    const std::string& root() const noexcept { return m_root; }
    int descriptor() const noexcept { return m_inotify.get(); }
    /// Why changes go unnoticed; empty: they do not.
    const std::string& blindness() const noexcept { return m_blindness; }

    /// Watches every folder of the tree as it is now.
    void renew() {
        m_blindness.clear();
        if (m_inotify.get() < 0) m_inotify.take(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        if (m_inotify.get() < 0) return becomeBlind(std::strerror(errno));
        std::set<int> found;
        m_toVisit = {m_root};
        while (!m_toVisit.empty()) {
            const std::string folder = std::move(m_toVisit.back());
            m_toVisit.pop_back();
            watch(folder, found);
        }
        for (const int watch : m_watches)
            if (!found.contains(watch)) ::inotify_rm_watch(m_inotify.get(), watch);
        m_watches = std::move(found);
        if (m_blindness.empty()) isBlindnessTold = false;
    }

    /// Takes some of the events that have come. Whether there were any of interest.
    bool takeEvents() {
        alignas(inotify_event) std::array<char, 16384> events;
        const ssize_t bytes = ::read(m_inotify.get(), events.data(), events.size());
        bool isOfInterest = false;
        for (ssize_t at = 0; at < bytes;) {
            inotify_event event;
            std::memcpy(&event, events.data() + at, sizeof event);
            at += static_cast<ssize_t>(sizeof event + event.len);
            // The end of a watch comes with a reason of its own, or was asked for.
            isOfInterest = isOfInterest || (event.mask & IN_IGNORED) == 0;
        }
        return isOfInterest;
    }

    bool hasChanged = false;
    bool isBlindnessTold = false;

private:
    void becomeBlind(const std::string& reason) {
        if (m_blindness.empty()) m_blindness = reason;
    }

    /// The watch of the item, or -1.
    int newWatch(const std::string& path, std::uint32_t events) {
        const int watch = ::inotify_add_watch(m_inotify.get(), path.c_str(), events);
        if (watch < 0 && (errno == ENOSPC || errno == ENOMEM)) {
            becomeBlind("the system has no watches left (fs.inotify.max_user_watches)");
            m_toVisit.clear();
        }
        return watch;
    }

    /// Watches `folder` and what is in it, but leaves its folders to be visited; unless it was met by another
    /// name.
    void watch(const std::string& folder, std::set<int>& found) {
        const int watch = newWatch(folder, kEvents | IN_ONLYDIR);
        if (watch < 0) {
            if (folder == m_root) becomeBlind(std::strerror(errno));
        } else if (found.insert(watch).second) {
            visit(folder, found);
        }
    }

    void visit(const std::string& folder, std::set<int>& found) {
        if (folder == m_root && isShared(folder)) becomeBlind("the folder is on a shared drive");
        const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(folder.c_str()), ::closedir);
        if (!stream) return;
        struct stat outer;
        const bool isOuterKnown = ::fstat(::dirfd(stream.get()), &outer) == 0;
        while (const dirent* const entry = ::readdir(stream.get())) {
            if (!mayHaveToBeWatched(*entry)) continue;
            const std::string path = (folder.ends_with('/') ? folder : folder + '/') + entry->d_name;
            visitEntry(path, isLink(path, *entry), isOuterKnown ? &outer : nullptr, found);
        }
    }

    /// `outer`: the folder that it is in, if that is known.
    void visitEntry(const std::string& path, bool isLink, const struct stat* outer, std::set<int>& found) {
        struct stat status;
        if (::stat(path.c_str(), &status) != 0) {
            if (isLink) becomeBlind("a link in it cannot be followed");
            return;
        }
        const bool isFolder = S_ISDIR(status.st_mode) && !isLeftOut(status);
        const bool isFileElsewhere = S_ISREG(status.st_mode) && isLink;
        if (!isFolder && !isFileElsewhere) return;
        if (outer && status.st_dev != outer->st_dev && isShared(path))
            becomeBlind("a part of it is on a shared drive");
        if (isFolder) {
            m_toVisit.push_back(path);
        } else if (const int watch = newWatch(path, kEvents); watch >= 0) {
            found.insert(watch);
        }
    }

    bool isLeftOut(const struct stat& folder) const {
        struct stat leftOut;
        return ::stat(m_leftOut.c_str(), &leftOut) == 0 && isSameItem(folder, leftOut);
    }

    const std::string m_root;
    const std::string m_leftOut;
    Descriptor m_inotify;
    std::set<int> m_watches;
    std::vector<std::string> m_toVisit;
    std::string m_blindness;
};

FolderWatch::FolderWatch(const std::vector<std::string>& roots, std::string leftOut, Timing timing)
    : m_timing(timing),
      m_mounts(std::make_unique<Descriptor>(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC))),
      m_lastSweep(Clock::now()) {
    for (const std::string& root : roots) m_trees.push_back(std::make_unique<Tree>(root, leftOut));
}

FolderWatch::~FolderWatch() = default;

std::vector<PathProblem> FolderWatch::takeBlindTrees() {
    std::vector<PathProblem> problems;
    for (const auto& tree : m_trees) {
        const bool isBlind = !tree->blindness().empty();
        if (isBlind && !tree->isBlindnessTold) problems.push_back({tree->root(), tree->blindness()});
        tree->isBlindnessTold = isBlind;  // until it sees again
    }
    return problems;
}

std::vector<std::string> FolderWatch::wait(int stopDescriptor) {
    for (;;) {
        notePassingTime();
        if (isAtRest()) return takeChanged();
        if (waitForEvents(stopDescriptor)) return {};
    }
}

void FolderWatch::forget(const std::string& root) {
    std::erase_if(m_trees, [&](const auto& tree) { return tree->root() == root; });
}

void FolderWatch::remind(const std::string& root) {
    for (const auto& tree : m_trees)
        if (tree->root() == root) noteChange(*tree);
}

void FolderWatch::noteChange(Tree& tree) {
    tree.hasChanged = true;
    m_lastChange = Clock::now();
    if (!m_firstChange) m_firstChange = m_lastChange;
}

/// Counts the blind trees as changed when their time has come.
void FolderWatch::notePassingTime() {
    if (Clock::now() - m_lastSweep < m_timing.sweep) return;
    m_lastSweep = Clock::now();
    for (const auto& tree : m_trees)
        if (!tree->blindness().empty() && !tree->hasChanged) noteChange(*tree);
}

bool FolderWatch::isAtRest() const {
    if (!m_firstChange) return false;
    const auto now = Clock::now();
    return now - *m_lastChange >= m_timing.settle || now - *m_firstChange >= m_timing.longest;
}

/// Until trees may have come to rest, or the next look at blind ones; negative when there is neither.
FolderWatch::Duration FolderWatch::timeLeft() const {
    constexpr Duration kForever{-1};
    const bool isBlind =
        std::ranges::any_of(m_trees, [](const auto& tree) { return !tree->blindness().empty(); });
    if (!isBlind && !m_firstChange) return kForever;
    auto due = Clock::time_point::max();
    if (isBlind) due = m_lastSweep + m_timing.sweep;
    if (m_firstChange)
        due = std::min({due, *m_lastChange + m_timing.settle, *m_firstChange + m_timing.longest});
    return std::max(std::chrono::ceil<Duration>(due - Clock::now()), Duration(0));
}

/// True when the wait is over by `stopDescriptor`.
bool FolderWatch::waitForEvents(int stopDescriptor) {
    constexpr std::size_t kOfTrees = 2;  // the first of them
    std::vector<pollfd> descriptors{{stopDescriptor, POLLIN, 0}, {m_mounts->get(), POLLPRI, 0}};
    for (const auto& tree : m_trees) descriptors.push_back({tree->descriptor(), POLLIN, 0});
    if (::poll(descriptors.data(), descriptors.size(), static_cast<int>(timeLeft().count())) <= 0)
        return false;
    if (descriptors.front().revents != 0) return true;
    for (std::size_t i = 0; i < m_trees.size(); ++i) {
        const bool hasEvents = descriptors[kOfTrees + i].revents != 0 && m_trees[i]->takeEvents();
        if (hasEvents || descriptors[1].revents != 0) noteChange(*m_trees[i]);
    }
    return false;
}

std::vector<std::string> FolderWatch::takeChanged() {
    std::vector<std::string> changed;
    for (const auto& tree : m_trees) {
        if (!std::exchange(tree->hasChanged, false)) continue;
        tree->renew();
        changed.push_back(tree->root());
    }
    m_firstChange.reset();
    m_lastChange.reset();
    return changed;
}

}  // namespace marl::tool
