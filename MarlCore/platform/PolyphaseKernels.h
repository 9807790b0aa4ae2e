// SPDX-License-Identifier: MIT
/// \file
/// The inner loops of the sample-rate converter, one set a processor level.
#pragma once

#include <MarlCore/platform/SimdLevel.h>

#include <cstddef>

namespace platform {

/// A set of inner loops. No pointer needs an alignment. [any thread]
///
/// The sets agree to within rounding (2e-7 of full scale), not bit for bit: the fast ones multiply and add in
/// one step with one rounding, which is twice as fast and slightly nearer to the truth. *Within* a set a
/// result depends on its own row and samples alone, not on what was computed beside it, so that pieces of a
/// conversion equal the whole bit for bit.
struct PolyphaseKernels {
    /// At most so many streams a call: what the registers of the fast set hold.
    static constexpr std::size_t kMaxStreamsOfTwo = 6;
    static constexpr std::size_t kMaxStreamsOfThree = 4;

    /// `sums[s][r]` becomes the sum over i < length of rows[r * length + i] * streams[s][i], for the rows r =
    /// 0 and 1. `length` is a multiple of 8, `count` from 1 to `kMaxStreamsOfTwo`.
    void (*dotTwo)(const float* rows, std::size_t length, const float* const* streams, std::size_t count,
                   float (*sums)[2]);

    /// The same for the rows r = 0, 1 and 2; `count` is from 1 to `kMaxStreamsOfThree`.
    void (*dotThree)(const float* rows, std::size_t length, const float* const* streams, std::size_t count,
                     float (*sums)[3]);
};

/// The set of a level, which must be available.
const PolyphaseKernels& polyphaseKernels(SimdLevel level) noexcept;

namespace portable {
extern const PolyphaseKernels kPolyphaseKernels;
}
namespace avx2 {
extern const PolyphaseKernels kPolyphaseKernels;  // x86 only
}

}  // namespace platform
