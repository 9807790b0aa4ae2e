// SPDX-License-Identifier: MIT
/// \file
/// Audio files whose every sample is known.
#pragma once

#include <MarlCore/Files/IFileData.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "support/LoopFiles.h"

namespace support {

/// An AIFF file of 16 bits: frame i has the value `first` + i in each channel.
struct CountingFile {
    int frames = 1000;
    int channels = 1;
    int first = 0;
    bool isOneShot = false;
    double sampleRate = 44100;

    Bytes bytes() const {
        Bytes samples;
        for (int i = 0; i < frames * channels; ++i) samples.big16(first + i / channels);
        AIFFContents contents;
        contents.common = CommonChunk{.channels = channels, .sampleRate = sampleRate};
        contents.basicTagging = BasicTagging{.fileType = isOneShot ? 2 : 1};
        contents.samples = std::move(samples);
        return aiffFile(contents);
    }
};

/// All samples that `data` delivers, of 16 bits or of floats, as the numbers of 16 bits that they stand for;
/// as read by a player, piece by piece.
inline std::vector<int> samplesOf(marl::IFileData& data) {
    int frames = 0;
    marl::AudioStreamBasicDescription format;
    std::vector<int> values;
    if (!data.getSampleConversion(nullptr, &frames, nullptr, &format)) return values;
    const int total = frames * static_cast<int>(format.mChannelsPerFrame);
    for (int outLast = -1; outLast + 1 < total;) {
        const int first = outLast + 1;
        const void* const samples = data.readSamples(first, total - 1, &outLast, true);
        if (!samples) break;
        for (int i = 0; i <= outLast - first; ++i)
            values.push_back(format.mBitsPerChannel == 16
                                 ? static_cast<const std::int16_t*>(samples)[i]
                                 : static_cast<int>(static_cast<const float*>(samples)[i] * 32768));
    }
    return values;
}

}  // namespace support
