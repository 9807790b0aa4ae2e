// SPDX-License-Identifier: MIT
/// \file
/// The sets of kernels behind `peakKernels()`: one source a set.
#pragma once

#include <MarlCore/MediaManager/PeakKernels.h>

#include <cstdint>

namespace marl::peaks {

extern const PeakKernels kPortablePeakKernels;

/// The AVX2 set, or null where this build is for a processor that has no AVX2.
extern const PeakKernels* const kAVX2PeakKernels;

}  // namespace marl::peaks
