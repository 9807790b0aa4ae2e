// SPDX-License-Identifier: MIT
/// \file
/// The waveform of a loop, as two rows of levels.
#pragma once

#include <MarlCore/MediaManager/PeaksManager.h>

#include <cstddef>
#include <string>
#include <vector>

namespace browser {

/// How far each column reaches from the middle, 0 to 1: the left channel upwards, the right one downwards. Of
/// a single channel what lies above zero, and what lies below.
struct Levels {
    std::vector<float> up, down;
};

/// The waveform of one file. That of a loop is there at once. What is longer is built a little at a time by a
/// timer of this thread's run loop; whoever runs that asks for `levels` again. [main thread]
class Waveform : private marl::PeaksAudioSource {
public:
    /// Throws what opening the file throws.
    explicit Waveform(const std::string& path);

    /// The whole file in `columns` columns, as far as it was read.
    Levels levels(std::size_t columns);

private:
    unsigned numberOfChannels() override { return m_channels; }
    std::uint32_t lengthInFrames() override { return m_frames; }
    bool offline() override { return false; }
    marl::IAudioSourceRef sourceRef() override { return m_source; }

    unsigned m_channels = 0;
    std::uint32_t m_frames = 0;
    marl::IAudioSourceRef m_source;
    marl::PeaksManager m_peaks{*this};
};

}  // namespace browser
