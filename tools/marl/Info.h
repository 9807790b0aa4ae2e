// SPDX-License-Identifier: MIT
/// \file
/// `marl info`: format and loop metadata of files.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace marl::tool {

struct InfoOptions {
    bool json = false;
    /// Files, and folders that stand for all loop files below them.
    std::vector<std::string> paths;
};

/// Prints one file in full, several as a table, or all as a JSON array. A file that cannot be read is
/// reported and the others are done. Returns the exit status.
int runInfo(const InfoOptions& options, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
