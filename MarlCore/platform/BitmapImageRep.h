// SPDX-License-Identifier: MIT
/// \file
/// Pixels in memory.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace platform {

class BitmapImageRep;
using BitmapImageRepRef = std::shared_ptr<BitmapImageRep>;

/// A picture of 4 bytes a pixel: red, green, blue, alpha, in that order in memory on every host. Row 0 comes
/// first; rows are padded to a multiple of 16 bytes. Owns its memory. [one thread at a time]
class MARLCORE_EXPORT BitmapImageRep {
public:
    /// Clear pixels (all bytes 0). Null when there would be none, or more than 2 GiB of them, or more than
    /// memory holds.
    static BitmapImageRepRef create(unsigned pixelsWide, unsigned pixelsHigh) noexcept;

    unsigned pixelsWide() const noexcept { return m_pixelsWide; }
    unsigned pixelsHigh() const noexcept { return m_pixelsHigh; }
    unsigned bytesPerRow() const noexcept { return m_pixelsPerRow * 4; }

    /// All rows with their padding, a pixel an element whose bytes in memory count (see `Color::pixel`): that
    /// of column x and row y is element y * bytesPerRow() / 4 + x.
    std::span<std::uint32_t> pixels() noexcept { return m_pixels; }
    std::span<const std::uint32_t> pixels() const noexcept { return m_pixels; }

    /// The same memory: byte 4 * x of row y is the red of column x.
    std::span<const std::byte> bytes() const noexcept { return std::as_bytes(std::span(m_pixels)); }

    /// Use `create`.
    BitmapImageRep(unsigned pixelsWide, unsigned pixelsHigh, unsigned pixelsPerRow);

private:
    unsigned m_pixelsWide, m_pixelsHigh, m_pixelsPerRow;
    std::vector<std::uint32_t> m_pixels;
};

}  // namespace platform
