// SPDX-License-Identifier: MIT
/// \file
/// One pass that brings an index in line with its folder tree, and what a user sees of it.
#pragma once

#include <MarlCore/SearchEngine/CFileSyncInfo.h>
#include <MarlCore/SearchEngine/CIndexFile.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace marl {

/// Counts of a pass, for a progress bar and a report.
struct SearchIndexingStatus {
    std::string rootDirectory;
    int filesToDo = 0;  ///< records and new files to look at in all; 0 while the folders are being listed
    int filesDone = 0;
    int filesAdded = 0;
    int filesUpdated = 0;  ///< had changed
    int filesUnchanged = 0;
    int filesReturned = 0;  ///< had gone, and are back
    int filesGone = 0;
    int filesKept = 0;     ///< not looked for, since their folder could not be read
    int filesRefused = 0;  ///< are no loops that can be read
    int danglingLinks = 0;
    int unreadableFolders = 0;
    bool isFinished = false;
    bool isComplete = false;  ///< ran to its end
    std::string error;        ///< what ended it before, if anything went wrong
};

/// The state of one pass. Belongs to whoever runs it; `cancelled` alone may be set by any thread.
struct IndexingState {
    /// A record to be written, with its keys unless they stay.
    struct Change {
        CFileIndexInfo record;  ///< identifier 0: new
        std::optional<std::set<SearchKeyInfo>> keys;
    };

    CIndexFileRef file;
    std::set<CFileSyncInfo> listing;  ///< files that no record has claimed yet
    ListingReport report;
    std::vector<PathProblem> problems;  ///< the files that were refused, and why
    std::int32_t nextRecord = 1;
    std::int32_t lastRecord = 0;
    std::vector<CFileIndexInfo> recordsAhead;  ///< have been read, from `firstAhead` on
    std::int32_t firstAhead = 0;
    int batchLimit = 64;           ///< files examined in one `indexOnce`
    std::vector<Change> changes;   ///< not in the index yet
    std::int32_t stateOnDisk = 0;  ///< of the index
    bool completed = false;
    std::atomic<bool> cancelled{false};
    SearchIndexingStatus status;
};

}  // namespace marl
