// SPDX-License-Identifier: MIT
#include "marl/PNG.h"

#include <cstdint>
#include <stdexcept>

#if MARL_HAS_PNG

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <utility>

#include <png.h>

namespace marl::tool {
namespace {

using Pixels = std::span<const std::uint32_t>;

/// Indices into the palette, a byte a pixel: 0 is clear, 1 the colour.
std::vector<std::uint8_t> indicesOf(const platform::BitmapImageRep& bitmap, Pixels pixels) {
    const std::size_t width = bitmap.pixelsWide(), pixelsPerRow = bitmap.bytesPerRow() / 4;
    std::vector<std::uint8_t> indices(width * bitmap.pixelsHigh());
    for (std::size_t row = 0; row < bitmap.pixelsHigh(); ++row)
        for (std::size_t column = 0; column < width; ++column)
            indices[row * width + column] = pixels[row * pixelsPerRow + column] != 0;
    return indices;
}

/// The bytes of the palette: red, green, blue and alpha of both entries.
std::array<std::uint8_t, 8> paletteOf(Pixels pixels) {
    std::array<std::uint8_t, 8> palette{};
    for (const std::uint32_t& pixel : pixels) {
        if (pixel == 0) continue;
        std::memcpy(palette.data() + 4, &pixel, 4);
        break;
    }
    return palette;
}

/// A file in memory that grows as it is written.
class MemoryFile {
public:
    MemoryFile() : m_file(::open_memstream(&m_bytes, &m_size)) {
        if (!m_file) throw std::bad_alloc();
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() {
        if (m_file) std::fclose(m_file);
        std::free(m_bytes);
    }

    std::FILE* file() const noexcept { return m_file; }

    std::vector<std::byte> close() {
        if (std::fclose(std::exchange(m_file, nullptr)) != 0) throw std::bad_alloc();
        const auto* const first = reinterpret_cast<const std::byte*>(m_bytes);
        return {first, first + m_size};
    }

private:
    char* m_bytes = nullptr;
    std::size_t m_size = 0;
    std::FILE* m_file;
};

}  // namespace

std::vector<std::byte> pngFile(const platform::BitmapImageRep& bitmap) {
    const Pixels pixels = bitmap.pixels();
    const auto indices = indicesOf(bitmap, pixels);
    const auto palette = paletteOf(pixels);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = bitmap.pixelsWide();
    image.height = bitmap.pixelsHigh();
    image.format = PNG_FORMAT_RGBA_COLORMAP;
    image.flags = PNG_IMAGE_FLAG_FAST;
    image.colormap_entries = 2;
    MemoryFile file;
    if (!png_image_write_to_stdio(&image, file.file(), 0, indices.data(), 0, palette.data()))
        throw std::runtime_error(std::string("the picture cannot be made: ") + image.message);
    return file.close();
}

}  // namespace marl::tool

#else

namespace marl::tool {

std::vector<std::byte> pngFile(const platform::BitmapImageRep&) {
    throw std::runtime_error("this build has no libpng, and writes no pictures");
}

}  // namespace marl::tool

#endif
