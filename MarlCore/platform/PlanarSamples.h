// SPDX-License-Identifier: MIT
/// \file
/// From interleaved samples of a format to planes of float, a channel a plane, and back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace platform {

/// The samples that the sample-rate converter takes, in the host's byte order; the value is the bytes of one.
enum class SampleType : std::uint8_t {
    int16 = 2,    ///< signed
    int24 = 3,    ///< signed, packed
    float32 = 4,  ///< full scale is 1
};

constexpr std::size_t bytesPerSample(SampleType type) noexcept {
    return static_cast<std::size_t>(type);
}

/// What samples of that width are; nothing for a width that is not converted.
constexpr std::optional<SampleType> sampleTypeOf(std::uint32_t bitsPerChannel) noexcept {
    switch (bitsPerChannel) {
        case 16:
            return SampleType::int16;
        case 24:
            return SampleType::int24;
        case 32:
            return SampleType::float32;
        default:
            return std::nullopt;
    }
}

/// Writes the frames in `bytes`, which are whole ones, to `planes[c] + offset` of each channel c. Integers
/// come out in -1 to below 1. Floats that are not finite come out as 0: one of them would spoil all its
/// neighbours. `bytes` needs no alignment. [any thread]
void samplesToPlanes(SampleType type, std::span<const std::byte> bytes, std::span<float* const> planes,
                     std::size_t offset) noexcept;

/// The first `frames` frames of the planes as samples, into `bytes`. Integers are rounded to the nearest one
/// (halves away from 0) and saturate; floats are copied. The planes hold no NaN where integers are asked for.
void planesToSamples(SampleType type, std::span<const float* const> planes, std::size_t frames,
                     std::byte* bytes) noexcept;

}  // namespace platform
