// SPDX-License-Identifier: MIT
/// \file
/// Compares files with those that the pages in docs/ show byte for byte.
#pragma once

#include <string>

namespace support {

std::string contentsOf(const std::string& path);

/// The bytes of the block behind "```hexdump `name`" in the page at `pagePath`, in the form of `hexdump -C`:
/// an offset, up to 16 bytes in hexadecimal, the same as characters; a star repeats the row above up to the
/// next offset.
std::string bytesOfPage(const std::string& pagePath, const std::string& name);

/// Where the two differ first, for a message that says more than two long texts; empty when they do not.
std::string difference(const std::string& page, const std::string& file);

}  // namespace support
