// SPDX-License-Identifier: MIT
/// \file
/// Files that are read and replaced as one piece.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace platform {

// Reading and replacing throw `std::system_error` with the errno of what was refused. [any thread]

/// What an error of theirs has to say to a user.
std::string wordsFor(const std::system_error& error);

/// The contents of the file at `path`. More than `most` bytes are refused (EOVERFLOW), and what is no regular
/// file (EINVAL), without waiting for the writer of a pipe.
std::string readWholeFile(const std::string& path, std::size_t most);

/// The file that `path` leads to over symbolic links, whether it exists or not.
std::string fileBehindLinks(const std::string& path);

/// Gives the file at `path` new contents. Whenever the process or the machine stops, the file is whole: the
/// old one (or none), or the new one, which is on the disk once this returns. Written beside the file behind
/// the links, with ".new" at the end, and renamed; so the caller keeps other writers of that file away. A
/// symbolic link stays one, and an old file's permissions stay, as does its owner where this process may give
/// files away; a new file is its owner's alone. One that this process may not write to is not replaced.
void replaceWholeFile(const std::string& path, std::string_view contents);

}  // namespace platform
