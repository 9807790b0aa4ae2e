// SPDX-License-Identifier: MIT
/// \file
/// The format that a project plays its sources in.
#pragma once

#include <MarlCore/platform/AudioStreamBasicDescription.h>

#include <cstdint>

namespace marl {

/// What files are converted to, whatever is in them. There is one for the process: audio sources that are
/// opened take it, and `MediaManager::setProjectFormat` hands it to those that are open. [main thread]
struct MARLCORE_EXPORT ProjectFormat {
    double sampleRate = 44100;          ///< Hz
    std::uint32_t bitsPerChannel = 32;  ///< 16 or 24 for integers, 32 for floats
    /// 2: mono files are doubled to stereo; 1 or 0: they stay mono. Files of more channels keep all of them.
    std::uint32_t channels = 0;

    static const ProjectFormat& current() noexcept;
    /// For sources that are opened from now on. Throws `CParamException` for a rate that is not between 1 Hz
    /// and 1 MHz, another width and more than two channels; everything then stays as it is.
    static void setCurrent(const ProjectFormat& format);

    /// What a file of this format is delivered in. Only 24 bits become 24 bits: other widths, which would
    /// gain nothing by it, become floats.
    platform::AudioStreamBasicDescription outputFormat(
        const platform::AudioStreamBasicDescription& fileFormat) const noexcept;

    friend bool operator==(const ProjectFormat&, const ProjectFormat&) = default;
};

}  // namespace marl
