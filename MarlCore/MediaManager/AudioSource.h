// SPDX-License-Identifier: MIT
/// \file
/// An audio source as a host sees it.
#pragma once

#include <MarlCore/MediaManager/CFileAudioSource.h>
#include <MarlCore/MediaManager/MediaSource.h>
#include <MarlCore/MediaManager/PeaksManager.h>

namespace marl {

/// Wraps a `CFileAudioSource`, and has the waveforms of it. They are made anew when another file, or another
/// format, takes the place of the one before. While the source is offline, the last image and the table stay,
/// unless the rate of the project changes; peaks that are finer than the table are full scale. [main thread]
class MARLCORE_EXPORT AudioSource final : public MediaSource, public PeaksAudioSource {
public:
    /// Throws `platform::Exception` for null.
    explicit AudioSource(const CFileAudioSourceRef& source);

    // As delivered; while the source is offline, what the last file had.

    unsigned numberOfChannels() override { return m_audio->getNumberOfChannels(); }
    std::uint32_t lengthInFrames() override { return m_audio->getLengthInFrames(); }
    bool offline() override { return isOffline(); }
    IAudioSourceRef sourceRef() override { return m_audio; }

    /// Where peaks come from. Unlike this class it throws `halyard::CException`.
    PeaksManager& peaksManager() noexcept { return m_peaks; }
    /// See `PeaksManager`.
    platform::Image waveformImageForSize(platform::Size size);
    platform::Image waveformImageForSize(platform::Size size, std::uint32_t from, std::uint32_t to,
                                         bool isPlaying);
    /// `PeaksManager::startPeriodicPeakBuilding`, now and whenever the peaks are to be made anew.
    void buildPeaksOnTimer();

    void wrappedObjectDidChange() override;

private:
    CFileAudioSourceRef m_audio;
    PeaksManager m_peaks;
};

}  // namespace marl
