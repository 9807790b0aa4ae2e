// SPDX-License-Identifier: MIT
#include <MarlCore/platform/BitmapImageRep.h>

#include <exception>

namespace platform {

BitmapImageRep::BitmapImageRep(unsigned pixelsWide, unsigned pixelsHigh, unsigned pixelsPerRow)
    : m_pixelsWide(pixelsWide),
      m_pixelsHigh(pixelsHigh),
      m_pixelsPerRow(pixelsPerRow),
      m_pixels(static_cast<std::size_t>(pixelsPerRow) * pixelsHigh) {}

BitmapImageRepRef BitmapImageRep::create(unsigned pixelsWide, unsigned pixelsHigh) noexcept {
    constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 31;
    const std::uint64_t bytesPerRow = (std::uint64_t{pixelsWide} * 4 + 15) / 16 * 16;
    if (pixelsWide == 0 || pixelsHigh == 0 || bytesPerRow > kMostBytes / pixelsHigh) return nullptr;
    try {
        return std::make_shared<BitmapImageRep>(pixelsWide, pixelsHigh,
                                                static_cast<unsigned>(bytesPerRow / 4));
    } catch (const std::exception&) {
        return nullptr;
    }
}

}  // namespace platform
