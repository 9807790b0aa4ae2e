// SPDX-License-Identifier: MIT
/// \file
/// Text in the cells of a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace browser {

/// The text in exactly `columns` cells: filled up with spaces, or cut, with an ellipsis for what is missing.
/// Wide characters take two cells, combining ones none. What a terminal could take for a command, and bytes
/// that are no UTF-8, become the replacement character.
std::string fitted(std::string_view text, std::size_t columns);

/// The same, cut at its start.
std::string fittedEnd(std::string_view text, std::size_t columns);

}  // namespace browser
