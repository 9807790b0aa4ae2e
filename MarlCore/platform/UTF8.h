// SPDX-License-Identifier: MIT
/// \file
/// Characters in UTF-8 (Unicode 15, table 3-7). [any thread]
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

/// The length in bytes of the well-formed character at the start of `text`, or 0 when there is none.
std::size_t utf8SequenceLength(std::string_view text) noexcept;

/// Appends a character, which is at most U+10FFFF and no surrogate.
void appendUTF8(std::string& text, char32_t character);

}  // namespace platform
