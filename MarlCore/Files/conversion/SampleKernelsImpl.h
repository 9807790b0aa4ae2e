// SPDX-License-Identifier: MIT
/// \file
/// The sets of kernels behind `sampleKernels()`: one source a set, each initialised at compile time.
#pragma once

#include <MarlCore/Files/conversion/SampleKernels.h>

namespace marl::conversion {

extern const SampleKernels kPortableSampleKernels;

/// The AVX2 set, or null where this build is for a processor that has no AVX2.
extern const SampleKernels* const kAVX2SampleKernels;

}  // namespace marl::conversion
