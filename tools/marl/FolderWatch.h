// SPDX-License-Identifier: MIT
/// \file
/// Follows folder trees as they change.
#pragma once

#include <MarlCore/SearchEngine/CFileSyncInfo.h>

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace marl::tool {

/// Tells which of some folder trees have changed: files that were written, moved, deleted or made readable,
/// anywhere below, behind symbolic links too; drives that are mounted. Where the system cannot tell (no
/// watches left, a network drive, a folder that is not there, a link that leads nowhere yet), it counts the
/// tree as changed every now and then.
///
/// Nothing is lost between two calls of `wait`: what changes meanwhile is told by the next one. A change is
/// told once the tree has come to rest, with new folders already watched; so who looks at the whole tree
/// after each call misses nothing. [one thread at a time]
class FolderWatch {
public:
    using Duration = std::chrono::milliseconds;

    struct Timing {
        Duration settle{500};    ///< without a change, for a tree to have come to rest
        Duration longest{5000};  ///< a tree that does not come to rest waits for it
        Duration sweep{30000};   ///< between two looks at trees that the system cannot tell of
    };

    /// Watches the trees from now on. `leftOut`: a folder whose changes do not count, there or not; the index
    /// directory, whose files every search opens. Links lead where they lead now, and after each change.
    FolderWatch(const std::vector<std::string>& roots, std::string leftOut, Timing timing);
    ~FolderWatch();

    /// Trees that the system has ceased to tell of since the last call, and why.
    std::vector<PathProblem> takeBlindTrees();

    /// Waits for trees that have changed and returns them, in the order of `roots`; or until there is
    /// something to read from `stopDescriptor`: none then. One of -1 is none.
    std::vector<std::string> wait(int stopDescriptor);

    /// Watches `root` no more.
    void forget(const std::string& root);

    /// Counts `root` as changed just now.
    void remind(const std::string& root);

private:
    class Tree;
    class Descriptor;
    using Clock = std::chrono::steady_clock;

    void noteChange(Tree& tree);
    void notePassingTime();
    bool isAtRest() const;
    Duration timeLeft() const;
    bool waitForEvents(int stopDescriptor);
    std::vector<std::string> takeChanged();

    const Timing m_timing;
    std::vector<std::unique_ptr<Tree>> m_trees;
    std::unique_ptr<Descriptor> m_mounts;                          // tells of drives that come and go
    std::optional<Clock::time_point> m_firstChange, m_lastChange;  // of those not told yet
    Clock::time_point m_lastSweep;
};

}  // namespace marl::tool
