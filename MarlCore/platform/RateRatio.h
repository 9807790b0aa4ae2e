// SPDX-License-Identifier: MIT
/// \file
/// The ratio of two sample rates, exact in whole numbers.
#pragma once

#include <cstdint>
#include <optional>

namespace platform {

/// `inputFrames` frames of input last as long as `outputFrames` frames of output: a reduced fraction, both
/// numbers from 1 to `kLimit`. Positions computed from it never drift.
struct RateRatio {
    static constexpr std::uint32_t kLimit = 1u << 30;
    static constexpr double kExtreme = 256;  ///< one rate is at most this many times the other

    std::uint32_t inputFrames = 1;
    std::uint32_t outputFrames = 1;

    /// The ratio of two rates in Hz: exact for whole numbers of Hz below 2^30, otherwise the last continued
    /// fraction within `kLimit`. That one is wrong by less than 2^-30 of itself (a frame in 6 hours at 44.1
    /// kHz) where the ratio is close to, but not, a simple one (44100 to 44100.000001), by some 1e-15
    /// otherwise. Nothing when a rate is not finite and positive, or one is more than `kExtreme` times the
    /// other.
    static std::optional<RateRatio> fromRates(double inputRate, double outputRate) noexcept;

    bool operator==(const RateRatio&) const = default;
};

}  // namespace platform
