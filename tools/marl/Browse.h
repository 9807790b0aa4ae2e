// SPDX-License-Identifier: MIT
/// \file
/// `marl browse`: the tree of a folder.
#pragma once

#include <iosfwd>
#include <string>

namespace marl::tool {

struct BrowseOptions {
    std::string folder = ".";
    int depth = 0;  ///< levels below the folder that are shown; 0: all
};

/// Prints the folder's tree to `out`, a line an item, indented by two blanks a level:
///
///     Loops [folder]
///       Drums [folder]
///         Kick 01.aif [AIFF]
///       Old -> /archive/loops [folder]
///     3 folders, 1 loop file
///
/// Aliases are shown with where they lead ("nowhere" for a dead one) and not entered, so a tree always ends.
/// Names pass through `terminalText`. Holds no more than one folder a level in memory. What cannot be opened
/// gets a line on `err`, and the rest is printed. Returns the exit status: 0, or 1 when something could not
/// be opened or printed.
int runBrowse(const BrowseOptions& options, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
