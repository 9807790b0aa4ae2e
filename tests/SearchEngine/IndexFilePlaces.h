// SPDX-License-Identifier: MIT
/// \file
/// Compares index files with the bytes that pages show of them.
#pragma once

#include <string>

namespace support {

/// Where the block "index" of the page at `pagePath` (below the source tree) and `file`, the bytes of an
/// index file, differ first, with the field that lies there; empty when they do not.
std::string indexDifference(const std::string& pagePath, const std::string& file);

}  // namespace support
