// SPDX-License-Identifier: MIT
/// \file
/// Paths as bytes: their components, their plain form, and the order of names. [any thread]
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marl {

/// What follows the last slash, trailing slashes aside; "/" for a path of slashes only.
std::string_view lastPathComponent(std::string_view path) noexcept;

/// What follows the last dot of the last component; empty when there is no dot, or when the component begins
/// with its only dot.
std::string_view pathExtension(std::string_view path) noexcept;

/// `path`, one slash, `component`; just `component` when `path` is empty.
std::string appendingPathComponent(std::string path, std::string_view component);

/// The path without doubled or trailing slashes and "." components. In an absolute path ".." is taken back
/// with the component before it; where that is a symbolic link, with the last component of what it leads to,
/// and when it leads nowhere ".." stays. A relative path keeps every "..".
std::string standardizedPath(std::string_view path);

/// The absolute path of the same item without symbolic links, or nothing when there is no such item or the
/// links run in a circle.
std::optional<std::string> pathWithoutAliases(const std::string& path);

/// Negative, zero or positive as `a` sorts before, with or behind `b`, by unsigned bytes, with the letters A
/// to Z taken as a to z: the same in every locale.
int compareIgnoringCase(std::string_view a, std::string_view b) noexcept;

}  // namespace marl
