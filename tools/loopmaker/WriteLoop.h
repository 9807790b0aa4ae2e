// SPDX-License-Identifier: MIT
/// \file
/// Writes a rendered loop with all its metadata.
#pragma once

#include "Render.h"

#include <filesystem>

namespace loopmaker {

/// Writes the loop below `folder`, under its description's folder and file name, in place of an older one. 24
/// bits are rounded, 8 and 16 bits dithered with two steps of triangular noise, the same on every run.
/// Throws what the writers and the file system throw.
void writeLoop(const RenderedLoop& loop, const std::filesystem::path& folder);

}  // namespace loopmaker
