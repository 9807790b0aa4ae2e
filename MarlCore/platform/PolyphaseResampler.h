// SPDX-License-Identifier: MIT
/// \file
/// Sample-rate conversion of any stretch of a stream, in any order.
#pragma once

#include <MarlCore/platform/PolyphaseFilter.h>
#include <MarlCore/platform/SimdLevel.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace platform {

struct PolyphaseKernels;

/// Computes output frames from a window of input frames. It keeps nothing between calls: an output frame
/// depends on its index and on the input frames around it alone, bit for bit, so stretches that were
/// converted one by one, in any order, equal the whole conversion.
///
/// Output frame n is the input at time n * inputFrames / outputFrames; both streams start at frame 0. The
/// input before its first and after its last frame is silence, which the caller writes as zeros into the
/// window. Samples are planar floats (a channel a plane) at any scale, and finite. Immutable; [any thread].
class PolyphaseResampler {
public:
    explicit PolyphaseResampler(std::shared_ptr<const PolyphaseFilter> filter, SimdLevel level = simdLevel());

    struct InputRange {
        std::int64_t first;  ///< input frame; negative where a stretch needs silence before the stream
        std::int64_t last;   ///< inclusive
    };

    /// The input frames that the `count` output frames from `firstOutput` on are computed from. `count` >= 1,
    /// 0 <= `firstOutput` < 2^52.
    InputRange inputRange(std::int64_t firstOutput, std::int64_t count) const noexcept;
    /// No `inputRange` of `count` output frames has more frames than this.
    std::int64_t maxInputFrames(std::int64_t count) const noexcept;

    /// Converts: `outputs[c][i]` becomes frame `firstOutput + i` of channel c, for i < count. `inputs[c][0]`
    /// is input frame `firstInput`; each input plane holds at least `inputRange(firstOutput, count)`.
    void process(std::int64_t firstOutput, std::int64_t count, std::span<const float* const> inputs,
                 std::int64_t firstInput, std::span<float* const> outputs) const noexcept;

    const PolyphaseFilter& filter() const noexcept { return *m_filter; }

private:
    struct Job;
    void processPeriodic(const Job& job) const noexcept;
    void processInterpolated(const Job& job) const noexcept;

    std::shared_ptr<const PolyphaseFilter> m_filter;
    const PolyphaseKernels& m_kernels;
};

}  // namespace platform
