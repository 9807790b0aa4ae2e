// SPDX-License-Identifier: MIT
/// \file
/// How the samples of a sound track are stored.
#pragma once

#include <MarlCore/Files/parsing/Movie.h>

namespace marl::movie {

/// Uncompressed, interleaved samples as they lie in the file.
struct SoundDescription {
    double sampleRate = 0;   // Hz
    int channels = 0;        // 1 to `kMostChannels`
    int bytesPerSample = 0;  // 1, 2, 3, 4; 4 or 8 for floats
    bool isFloat = false;
    bool isBigEndian = true;
    bool isSigned = true;        // matters for one byte only
    unsigned dataReference = 0;  // which of the track's data references, from 1 on

    static constexpr int kMostChannels = 32767;

    int bytesPerFrame() const noexcept { return bytesPerSample * channels; }
    /// Of a sample as a parser reports it: 8 to 24 as stored, 32 for all that is read as 32-bit float.
    int reportedBits() const noexcept { return isFloat ? 32 : 8 * bytesPerSample; }
};

/// Reads the first sound description of `track`: version 0, 1 or 2. Throws `CParamException` when there is
/// none, and for what is compressed (with the name of the codec) or stored in a form that is not supported.
SoundDescription readSoundDescription(IFileData& file, const Track& track);

}  // namespace marl::movie
