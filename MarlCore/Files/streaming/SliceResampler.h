// SPDX-License-Identifier: MIT
/// \file
/// The rate step of streamed files: any stretch of a converted stream, without a seam to its neighbours.
#pragma once

#include <MarlCore/platform/AudioStreamBasicDescription.h>
#include <MarlCore/platform/PlanarSamples.h>
#include <MarlCore/platform/PolyphaseResampler.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace marl {

/// Converts stretches of a stream to another rate, each from the exact moment at which it begins and with the
/// frames around it, so that stretches in any order are what `platform::AudioConverter` makes of the whole
/// stream, bit for bit. Immutable; [any thread].
class SliceResampler {
public:
    /// Null for formats that `platform::AudioConverter` does not convert either.
    static std::unique_ptr<SliceResampler> create(const platform::AudioStreamBasicDescription& from,
                                                  const platform::AudioStreamBasicDescription& to);

    /// Fills the bytes with whole interleaved frames of the stream before its conversion, from frame `first`
    /// on; silence where that is before the stream's first frame or after its last one.
    using ReadInput = std::function<void(std::int64_t first, std::span<std::byte> frames)>;

    /// Writes `count` interleaved frames, of which `firstOutput` is the first, to `output`. What `readInput`
    /// throws is passed on. Allocates on a thread's first calls only.
    void convert(std::int64_t firstOutput, std::int64_t count, const ReadInput& readInput,
                 std::byte* output) const;

private:
    SliceResampler(platform::SampleType type, std::size_t channels, platform::RateRatio ratio);

    void convertBlock(std::int64_t firstOutput, std::int64_t count, const ReadInput& readInput,
                      std::byte* output) const;

    platform::SampleType m_type;
    std::size_t m_channels;
    platform::PolyphaseResampler m_resampler;
    std::int64_t m_blockFrames;  // output frames that are converted at once
};

}  // namespace marl
