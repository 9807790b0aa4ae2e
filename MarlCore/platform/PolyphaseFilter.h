// SPDX-License-Identifier: MIT
/// \file
/// The coefficients of one sample-rate conversion, computed once and shared by all who convert at that ratio.
#pragma once

#include <MarlCore/platform/RateRatio.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace platform {

/// Output frame n is the sum of the input frames around time n * inputFrames / outputFrames, weighted by the
/// `LowPassKernel` at their distance from it. This class holds those weights, the *rows*.
///
/// A row has `rowLength()` floats, a multiple of 8, and starts at an input frame of its own, often before
/// frame 0. There are two kinds of filter:
///
/// - *Periodic*, where all rows fit in `kLargestBank`. Rows come in pairs, for output frames 2p and 2p + 1.
/// Both
///   rows of a pair start at the same input frame (zeros fill up the difference), so that samples that are
///   loaded once serve both. After `pairsPerPeriod()` pairs the same rows return, `inputsPerPeriod()` frames
///   further on.
/// - *Interpolated*, for ratios that repeat late or never (22255 to 48000 Hz: 9600 rows). The kernel is
/// sampled at
///   a few phases, and an output frame is blended from what the three nearest phases give. The error of that
///   is below -138 dB.
///
/// Immutable; [any thread]. At most 0.7 MiB.
class PolyphaseFilter {
public:
    static constexpr std::size_t kLargestBank = 672 * 1024;  ///< bytes: 192 to 44.1 kHz still fits

    /// The filter of a ratio: one that was used lately, or a new one (some 2 ms). The process keeps the last
    /// `kRemembered` filters.
    static std::shared_ptr<const PolyphaseFilter> shared(RateRatio ratio);
    static constexpr std::size_t kRemembered = 4;

    explicit PolyphaseFilter(RateRatio ratio);

    RateRatio ratio() const noexcept { return m_ratio; }
    std::size_t rowLength() const noexcept { return m_rowLength; }
    bool isPeriodic() const noexcept { return m_pairsPerPeriod > 0; }

    /// Periodic only. `pair` >= 0 and below 2^52; the second row follows the first.
    std::int64_t pairsPerPeriod() const noexcept { return m_pairsPerPeriod; }
    std::int64_t inputsPerPeriod() const noexcept { return m_inputsPerPeriod; }
    const float* pairRows(std::int64_t pair) const noexcept;

    /// The input frame that the rows of an output frame start at; in a periodic filter, those of its pair.
    /// `outputFrame` >= 0 and below 2^53.
    std::int64_t firstInput(std::int64_t outputFrame) const noexcept;

    /// Three rows in succession, and what each contributes.
    struct Blend {
        const float* rows;
        float weights[3];
        std::int64_t firstInput;
    };
    /// Interpolated only.
    Blend blend(std::int64_t outputFrame) const noexcept;

private:
    /// A moment between input frames: `offset` input frames after the frame `nearest`, -0.5 <= offset < 0.5.
    struct Position {
        std::int64_t nearest;
        double offset;
    };

    Position positionOf(std::int64_t outputFrame) const noexcept;
    void buildPeriod();
    void buildPhases();
    void sampleKernel(double offset, std::span<float> taps) const;
    std::size_t tapCount() const noexcept { return 2 * m_halfLength + 1; }

    RateRatio m_ratio;
    double m_scale;            // slower rate / input rate: how far the kernel is stretched, and its gain
    std::size_t m_halfLength;  // taps on each side of the nearest input frame
    std::size_t m_rowLength;
    std::int64_t m_pairsPerPeriod = 0;
    std::int64_t m_inputsPerPeriod = 0;
    std::int64_t m_phases = 0;  // of the interpolated kind: an input frame's distance is cut into so many
    std::vector<float> m_bank;  // periodic: the rows of all pairs; otherwise phases -1 to m_phases + 1
};

}  // namespace platform
