// SPDX-License-Identifier: MIT
/// \file
/// Floats to integers as the write thread does it: without a limit.
#pragma once

#include <cstddef>

namespace marl {

/// Turns `count` 32-bit floats at `in` into integers of `bytesPerSample` bytes at `out`; neither needs to be
/// aligned, and `out` may be `in`.
///
/// | bytes | integer |
/// |---|---|
/// | 2 | value x 32768, rounded half away from zero, in host order |
/// | 3 | value x 8388608 (single precision), rounded in the current mode, most significant byte first |
/// | 4 | value x 8388608, rounded half away from zero, in host order: the scale of 24 bits, deliberately |
///
/// Nothing is clipped, deliberately: what does not fit keeps its lower bits, so that 1.0 becomes the most
/// negative number. Clipping is up to whoever makes the samples. What is not finite becomes 0. Any other
/// width throws `CParamException` "don't know how to convert to int from sample size = %ld".
void floatsToWrappedIntegers(const void* in, void* out, std::size_t count, int bytesPerSample);

}  // namespace marl
