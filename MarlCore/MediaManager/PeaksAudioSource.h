// SPDX-License-Identifier: MIT
/// \file
/// What waveforms are drawn of.
#pragma once

#include <MarlCore/Files/streaming/IAudioSource.h>

#include <cstdint>

namespace marl {

/// An audio source, as far as its `PeaksManager` needs to know it. [main thread]
class MARLCORE_EXPORT PeaksAudioSource {
public:
    virtual ~PeaksAudioSource() = default;

    virtual unsigned numberOfChannels() = 0;
    virtual std::uint32_t lengthInFrames() = 0;
    /// Whether its file is missing for now.
    virtual bool offline() = 0;
    /// Where the samples come from. Neither this nor its data is null: `LogNullRef` would end the process.
    virtual IAudioSourceRef sourceRef() = 0;
};

}  // namespace marl
