// SPDX-License-Identifier: MIT
/// \file
/// `marl index`: the indexes that searches stand on.
#pragma once

#include "marl/FolderWatch.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace marl::tool {

struct IndexOptions {
    std::string indexDirectory = {};  ///< empty: as `indexDirectoryOf` says
    bool rebuild = false;             ///< from the audio files alone
    bool watch = false;               ///< go on until a signal comes
    bool isProgressShown = false;     ///< standard error is a terminal
    FolderWatch::Timing timing = {};  ///< of the watch
    std::vector<std::string> folders = {};
};

/// Brings the index of each folder up to date and prints a row for each, what went wrong on `err`. A file
/// that is no loop is told, and no error; a folder that cannot be read is one, the others are done all the
/// same. With `watch` the indexes follow their folders from then on, and a row tells what was new; a folder
/// that cannot be indexed at first and has no index is not followed, and when none is left the watch does not
/// begin.
///
/// Returns the exit status: that of the signal (see `statusOfSignal`) which ended the work before its end; 0
/// for one that ended the watch.
int runIndex(const IndexOptions& options, std::ostream& out, std::ostream& err);

/// Prints the indexed folders with the state of each, or that there are none. Returns the exit status.
int runIndexList(const std::string& indexDirectory, std::ostream& out, std::ostream& err);

/// Removes the index of `folder`, which may be gone itself; the audio files stay. Returns the exit status: 1
/// when there is no such index, or another process is at it.
int runIndexRemove(const std::string& indexDirectory, const std::string& folder, std::ostream& out,
                   std::ostream& err);

}  // namespace marl::tool
