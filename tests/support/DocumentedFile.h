// SPDX-License-Identifier: MIT
/// \file
/// Compares files with those that the pages in docs/ show byte for byte.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace support {

std::string contentsOf(const std::string& path);

/// The bytes of the block behind "```hexdump `name`" in the page at `pagePath`, in the form of `hexdump -C`:
/// an offset, up to 16 bytes in hexadecimal, the same as characters; a star repeats the row above up to the
/// next offset.
std::string bytesOfPage(const std::string& pagePath, const std::string& name);

/// What the first table under the line "## `heading`" of the page says of the byte at `offset`: its row with
/// the greatest first column that is not beyond. Empty when there is none.
std::string rowOfPage(const std::string& pagePath, const std::string& heading, std::size_t offset);

/// What lies at an offset of a file, for a message.
using PlaceOf = std::function<std::string(std::size_t offset)>;

/// Where the two differ first, for a message that says more than two long texts; empty when they do not.
std::string difference(const std::string& page, const std::string& file, const PlaceOf& placeOf = {});

}  // namespace support
