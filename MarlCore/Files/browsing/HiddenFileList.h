// SPDX-License-Identifier: MIT
/// \file
/// The names of the items that a browser leaves out.
#pragma once

#include <mutex>
#include <string>
#include <unordered_set>

namespace marl {

/// A list of names in a file, a name a line: leading blanks (spaces and tabs) are skipped, a line ends at its
/// line feed or carriage return, and what exceeds 765 bytes of a line is ignored. The file is read on first
/// use and never looked at again; one that is missing, cannot be read or is no regular file is an empty list.
/// [any thread]
class HiddenFileList {
public:
    explicit HiddenFileList(std::string path);

    /// Compares bytes exactly.
    bool contains(const std::string& name);

private:
    void loadHiddenFile();

    const std::string m_path;
    std::once_flag m_loaded;
    std::unordered_set<std::string> m_names;
};

}  // namespace marl
