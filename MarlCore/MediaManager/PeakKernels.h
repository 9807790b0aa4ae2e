// SPDX-License-Identifier: MIT
/// \file
/// The inner loops of waveform overviews: the highest and the lowest of many samples.
#pragma once

#include <MarlCore/MediaManager/CPeaksBuffer.h>
#include <MarlCore/platform/SimdLevel.h>

#include <cstddef>

namespace marl::peaks {

/// Raises the maxima and lowers the minima in `peaks`, one a channel, by `frames` frames (0 is fine) of
/// interleaved samples in host order. NaN counts for nothing, and zeros come out positive, so that the order
/// of the comparisons cannot be told from the result. Neither address needs to be aligned beyond its type.
/// [any thread]
using PeakKernel = void (*)(const void* samples, std::size_t frames, Peak* peaks) noexcept;

/// The kernels of one SIMD level. All levels give the same bits.
struct PeakKernels {
    platform::SimdLevel level;

    PeakKernel mono16;  ///< value / 32768
    PeakKernel stereo16;
    PeakKernel monoFloat;
    PeakKernel stereoFloat;
};

/// Those that run on this processor fastest, or those of the level that the user forced: see
/// `platform::simdLevel()`. Chosen at the first call. [any thread]
const PeakKernels& peakKernels() noexcept;

/// Those of one level, which must be among `platform::availableSimdLevels()`. [any thread]
const PeakKernels& peakKernels(platform::SimdLevel level) noexcept;

}  // namespace marl::peaks
