// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/PeaksManager.h>

#include <MarlCore/Common/MarlColors.h>
#include <MarlCore/Common/MarlPreferences.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace marl {
namespace {

/// Whole pixels of a length; 0 for what is no length.
unsigned pixelsOf(float length) noexcept {
    constexpr float kMost = 1e9f;
    return length > 0 ? static_cast<unsigned>(std::min(length, kMost)) : 0;
}

}  // namespace

PeaksManager::PeaksManager(PeaksAudioSource& audioSource)
    : m_audioSource(audioSource),
      m_waveformColor(MarlWaveformColor),
      m_waveformColorAsLong(MarlWaveformColor.pixel()),
      m_waveformOpacity(MarlPreferences::floatForKey(MarlWaveformOpacityKey)) {}

PeaksManager::~PeaksManager() {
    platform::NotificationCenter::defaultCenter().removeObserver(this);
    stopPeriodicPeakBuilding();
}

IFileDataRef PeaksManager::fileData() {
    return m_audioSource.sourceRef()->getFileData();
}

platform::BitmapImageRepRef PeaksManager::createEmptyBitmapWithWidth(unsigned width, unsigned height) {
    return platform::BitmapImageRep::create(width, height);
}

void PeaksManager::setWaveformColor(const platform::Color& color) noexcept {
    m_waveformColor = color;
    m_waveformColorAsLong = color.pixel();
}

platform::Image PeaksManager::waveformImageForSize(platform::Size size) {
    const bool hasSize = std::floor(size.width) == m_cachedImageSize.width &&
                         std::floor(size.height) == m_cachedImageSize.height;
    // One pixel wider is accepted on purpose, at any height.
    if (m_validCache && m_cachedImage && (hasSize || size.width + 1.0 == m_cachedImageSize.width))
        return *m_cachedImage;
    const std::uint32_t length = lengthInFrames();
    const platform::Image image = drawnImage(size, 0, length > 0 ? length - 1 : 0, true);
    cacheImage(image);
    cacheSize(size);
    m_validCache = true;
    return image;
}

platform::Image PeaksManager::waveformImageForSize(platform::Size size, std::uint32_t from, std::uint32_t to,
                                                   bool isPlaying) {
    return drawnImage(size, from, to, isPlaying || !m_peaksTableBuilt);
}

platform::Image PeaksManager::drawnImage(platform::Size size, std::uint32_t from, std::uint32_t to,
                                         bool isPlaying) {
    platform::Image image(size);
    image.setCacheMode(platform::ImageCacheNever);
    const auto bitmap = createEmptyBitmapWithWidth(pixelsOf(size.width), pixelsOf(size.height));
    if (bitmap) drawRange(size, from, to, isPlaying, *bitmap);
    image.addRepresentation(bitmap);
    return image;
}

void PeaksManager::drawRange(platform::Size size, std::uint32_t from, std::uint32_t to, bool isPlaying,
                             platform::BitmapImageRep& bitmap) {
    const int columns = static_cast<int>(bitmap.pixelsWide());
    switch (drawableChannels()) {
        case 1:
            drawMonoWaveform(getPeaksFromFrame(from, to, columns, isPlaying), size, bitmap);
            break;
        case 2:
            drawStereoWaveform(getStereoPeaksFromFrame(from, to, columns, isPlaying), size, bitmap);
            break;
        default:
            break;
    }
}

/// 1, 2, or 0 where the image stays clear.
unsigned PeaksManager::drawableChannels() {
    if (lengthInFrames() < peaksTableInterval()) return 0;
    const unsigned count = channels();
    AudioStreamBasicDescription format;
    const bool isDescribed = fileData()->getSampleConversion(nullptr, nullptr, nullptr, &format);
    if (count == 1 && isDescribed && format.mChannelsPerFrame != 1) return 0;
    return count <= 2 ? count : 0;
}

}  // namespace marl
