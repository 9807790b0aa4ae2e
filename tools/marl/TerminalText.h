// SPDX-License-Identifier: MIT
/// \file
/// Text from files, made fit for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace marl::tool {

/// The text with every byte that a terminal could take for a command written as "\x0A": control characters,
/// those of Unicode's C1 block too, and bytes that are no well-formed UTF-8. A backslash becomes "\\", so
/// that the result names exactly one text.
std::string terminalText(std::string_view text);

}  // namespace marl::tool
