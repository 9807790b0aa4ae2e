// SPDX-License-Identifier: MIT
/// \file
/// The files below a folder, by name: where a file that was moved may be.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace marl {

/// How far a listing goes.
struct FolderListingLimits {
    int depth = 32;                 ///< folders below the first one; 0: its own files only
    std::size_t entries = 500'000;  ///< files and folders looked at
};

/// Lists a folder and the folders in it, nearest first. Links are followed, but each folder is listed once,
/// so that links in a circle end. Hidden folders are left out: what is found in a wastebasket was thrown
/// away. Paths are bytes. [one thread at a time]
class MARLCORE_EXPORT FolderListing {
public:
    using Limits = FolderListingLimits;
    /// Called before each folder is listed; false ends the listing.
    using WillList = std::function<bool(const std::string& folder)>;

    explicit FolderListing(const std::string& folder, Limits limits = {}, const WillList& willList = {});

    /// The paths of the regular files of that name that now have that many bytes, or any number of them where
    /// `size` is nothing. Those nearest to the first folder come first.
    std::vector<std::string> find(const std::string& name, std::optional<std::uint64_t> size) const;

    /// Folders that could not be listed, or not to their end.
    const std::vector<std::string>& unreadableFolders() const noexcept { return m_unreadable; }
    /// False when a limit, or `willList`, has ended the listing.
    bool isComplete() const noexcept { return m_isComplete; }

private:
    struct Walk;
    void listFolder(Walk& walk, const std::string& folder, int depth);

    std::map<std::string, std::vector<std::string>> m_paths;  // of what is no folder, by name
    std::vector<std::string> m_unreadable;
    bool m_isComplete = true;
};

}  // namespace marl
