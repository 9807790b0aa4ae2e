// SPDX-License-Identifier: MIT
/// \file
/// Pictures as PNG files.
#pragma once

#include <MarlCore/platform/BitmapImageRep.h>

#include <cstddef>
#include <vector>

namespace marl::tool {

/// The whole file of a picture that has one colour on clear ground: two entries of a palette, a bit a pixel,
/// which is small and takes little time. Throws `std::runtime_error` when it cannot be made, or when this
/// build has no libpng.
std::vector<std::byte> pngFile(const platform::BitmapImageRep& bitmap);

}  // namespace marl::tool
