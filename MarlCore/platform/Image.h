// SPDX-License-Identifier: MIT
/// \file
/// A picture as hosts draw it.
#pragma once

#include <MarlCore/platform/BitmapImageRep.h>
#include <MarlCore/platform/Size.h>

#include <utility>

namespace platform {

/// Whether who draws an image keeps a copy of it in the form of the screen.
enum ImageCacheMode {
    ImageCacheDefault = 0,
    ImageCacheAlways = 1,
    ImageCacheBySize = 2,
    ImageCacheNever = 3
};

/// A size, and the pixels that are shown in it. A value: copies share the pixels, which nobody changes once
/// they are in an image. [one thread at a time]
class MARLCORE_EXPORT Image {
public:
    using Representations = std::vector<std::shared_ptr<const BitmapImageRep>>;

    explicit Image(Size size) noexcept : m_size(size) {}

    Size size() const noexcept { return m_size; }

    ImageCacheMode cacheMode() const noexcept { return m_cacheMode; }
    void setCacheMode(ImageCacheMode mode) noexcept { m_cacheMode = mode; }

    /// The bitmaps, in the order of their coming; empty: the image is clear.
    const Representations& representations() const noexcept { return m_representations; }
    /// Null adds nothing.
    void addRepresentation(std::shared_ptr<const BitmapImageRep> bitmap) {
        if (bitmap) m_representations.push_back(std::move(bitmap));
    }

private:
    Size m_size;
    ImageCacheMode m_cacheMode = ImageCacheDefault;
    Representations m_representations;
};

}  // namespace platform
