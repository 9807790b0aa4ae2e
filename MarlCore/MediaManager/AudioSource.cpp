// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/AudioSource.h>

#include <MarlCore/MediaManager/RaisingImpl.h>

namespace marl {

AudioSource::AudioSource(const CFileAudioSourceRef& source)
    : MediaSource(source), m_audio(source), m_peaks(*this) {}

platform::Image AudioSource::waveformImageForSize(platform::Size size) {
    return raising([&] { return m_peaks.waveformImageForSize(size); });
}

platform::Image AudioSource::waveformImageForSize(platform::Size size, std::uint32_t from, std::uint32_t to,
                                                  bool isPlaying) {
    return raising([&] { return m_peaks.waveformImageForSize(size, from, to, isPlaying); });
}

void AudioSource::buildPeaksOnTimer() {
    raising([&] { m_peaks.startPeriodicPeakBuilding(); });
}

/// Also for a file of the same length: two loops of one tempo are not one.
void AudioSource::wrappedObjectDidChange() {
    if (isOffline()) return;
    m_peaks.invalidateCache();
    m_peaks.invalidatePeaksTable();
    if (!m_peaks.isBuiltOnTimer()) return;
    m_peaks.stopPeriodicPeakBuilding();
    m_peaks.startPeriodicPeakBuilding();
}

}  // namespace marl
