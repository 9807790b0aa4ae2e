// SPDX-License-Identifier: MIT
/// \file
/// The coefficients of one sample-rate conversion, computed once and shared by all who convert at that ratio.
#pragma once

#include <MarlCore/platform/AlignedVector.h>
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
/// - *Periodic*, where all rows fit in `kLargestBank`: after `outputsPerPeriod()` output frames the same rows
///   return, `inputsPerPeriod()` input frames further on. The rows of a period come in pairs, for its output
///   frames 2p and 2p + 1. Both start at the same input frame (zeros fill up the difference), so that samples
///   that are loaded once serve both. The second row of the last pair of an odd period is of no use.
/// - *Interpolated*, for ratios that repeat late or never (22255 to 48000 Hz: 9600 rows): the kernel is known
///   at a few phases, and an output frame is blended from what the three nearest phases give. The error of
///   that is below -138 dB.
///
/// Immutable; [any thread]. At most half a MiB.
class PolyphaseFilter {
public:
    static constexpr std::size_t kLargestBank = 512 * 1024;  ///< bytes

    /// The filter of a ratio: one that was used lately, or a new one (some 2 ms). The process keeps the last
    /// `kRemembered` filters.
    static std::shared_ptr<const PolyphaseFilter> shared(RateRatio ratio);
    static constexpr std::size_t kRemembered = 4;

    explicit PolyphaseFilter(RateRatio ratio);

    RateRatio ratio() const noexcept { return m_ratio; }
    std::size_t rowLength() const noexcept { return m_rowLength; }
    bool isPeriodic() const noexcept { return m_outputsPerPeriod > 0; }

    /// Periodic only.
    std::int64_t outputsPerPeriod() const noexcept { return m_outputsPerPeriod; }
    std::int64_t inputsPerPeriod() const noexcept { return m_inputsPerPeriod; }
    std::int64_t pairsPerPeriod() const noexcept { return (m_outputsPerPeriod + 1) / 2; }
    /// The rows of a pair of a period, one after the other, and the input frame that they start at if the
    /// period starts at frame 0. 0 <= `pair` < pairsPerPeriod().
    const float* pairRows(std::int64_t pair) const noexcept;
    std::int64_t pairStart(std::int64_t pair) const noexcept {
        return m_pairStarts[static_cast<std::size_t>(pair)];
    }

    /// The input frame that the row of an output frame starts at. `outputFrame` >= 0 and below 2^53.
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
    std::int64_t m_outputsPerPeriod = 0;
    std::int64_t m_inputsPerPeriod = 0;
    std::vector<std::int64_t> m_pairStarts;  // periodic: the first input frame of each pair
    std::int64_t m_phases = 0;    // interpolated: the time between two input frames is cut into so many
    AlignedVector<float> m_bank;  // periodic: the pairs of a period; interpolated: phases -1 to m_phases + 1
};

}  // namespace platform
