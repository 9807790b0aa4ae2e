// SPDX-License-Identifier: MIT
/// \file
/// A loop file as the source of a waveform.
#pragma once

#include "marl/LoopFile.h"
#include "marl/ProgressBar.h"

#include <MarlCore/MediaManager/PeaksAudioSource.h>

#include <iosfwd>
#include <string>

namespace marl::tool {

/// A file that is streamed from disk, at its own rate and with all of its channels: floats as they are,
/// integers as 16 bits.
class PeaksSource : public PeaksAudioSource {
public:
    /// Throws what `openLoopFile` throws. `isProgressShown`: on `err`, a terminal, while a file of many
    /// minutes is read.
    PeaksSource(const std::string& path, bool isProgressShown, std::ostream& err);

    unsigned numberOfChannels() override { return m_channels; }
    std::uint32_t lengthInFrames() override { return m_frames; }
    bool offline() override { return false; }
    IAudioSourceRef sourceRef() override { return m_source; }

    double sampleRate() const noexcept { return m_sampleRate; }

private:
    unsigned m_channels = 0;
    std::uint32_t m_frames = 0;
    double m_sampleRate = 0;  // Hz
    ProgressBar m_progress;
    IAudioSourceRef m_source;
};

}  // namespace marl::tool
