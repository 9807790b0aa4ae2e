// SPDX-License-Identifier: MIT
/// \file
/// The inner loops of sample conversion: blocks of samples of one width into blocks of another.
///
/// A sample has 8, 16 or 24 bits (24 in three packed bytes) or is a 32-bit float with full scale at 1.0.
/// Everything is in the host's byte order, except the source of a kernel that is called `reversed…`. Channels
/// do not matter: interleaved samples are a row of samples.
///
/// Every kernel exists once for each SIMD level of this build, and all levels give the same bits.
#pragma once

#include <MarlCore/platform/SimdLevel.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace marl::conversion {

/// Converts `samples` samples (0 is fine) of `source` into `destination`.
///
/// Neither address needs to be aligned, and nothing beside the samples is read or written. The two must not
/// overlap unless the member says so. A kernel neither allocates, nor locks, nor throws. [any thread]
using SampleKernel = void (*)(const void* source, void* destination, std::size_t samples) noexcept;

/// The kernels of one SIMD level.
struct SampleKernels {
    platform::SimdLevel level;

    /// The bytes of each sample in the opposite order. `destination` may be `source`: reversal in place.
    SampleKernel reverse16;
    SampleKernel reverse24;
    SampleKernel reverse32;

    SampleKernel unsigned8To16;     ///< (byte - 128) * 256
    SampleKernel signed8To16;       ///< byte * 256
    SampleKernel unsigned8ToFloat;  ///< byte / 128 - 1

    SampleKernel int16ToFloat;       ///< value / 32768
    SampleKernel reversed16ToFloat;  ///< the same from the opposite byte order

    SampleKernel int24ToFloat;       ///< value * `kScaleOf24`, one rounding
    SampleKernel reversed24ToFloat;  ///< the same from the opposite byte order

    SampleKernel int16To24;       ///< value * 256
    SampleKernel int24To16;       ///< the upper 16 bits: rounds down, no dither
    SampleKernel reversed24To16;  ///< the same from the opposite byte order

    /// value * 2^(bits - 1), rounded in the current mode (by default to nearest, ties to even) and limited to
    /// what the integer holds: 1.0 gives the largest one. NaN gives 0.
    SampleKernel floatTo16;
    SampleKernel floatTo24;

    /// Mono to stereo: each sample twice, so the destination holds 2 * `samples` samples.
    SampleKernel duplicate16;
    SampleKernel duplicate24;
    SampleKernel duplicate32;
};

/// 24 bits to float: 1.15093236e-07 in single precision (bits 0x33F7292D), deliberately a little below
/// 1 / 8388608 (1.1920929e-07). Full scale becomes about 0.9655; loops are mixed and shown at this level.
inline constexpr float kScaleOf24 = std::bit_cast<float>(std::uint32_t{0x33F7292D});

/// The kernels that run on this processor fastest, or those of the level that the user forced: see
/// `platform::simdLevel()`. Chosen at the first call. [any thread]
const SampleKernels& sampleKernels() noexcept;

/// The kernels of one level, which must be among `platform::availableSimdLevels()`. [any thread]
const SampleKernels& sampleKernels(platform::SimdLevel level) noexcept;

}  // namespace marl::conversion
