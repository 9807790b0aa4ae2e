// SPDX-License-Identifier: MIT
// The kernels in plain C++: they define what every other set computes.
#include <MarlCore/MediaManager/PeakKernelsImpl.h>

#include <limits>

namespace marl::peaks {
namespace {

template <typename Sample>
constexpr float kScale = 1;
template <>
constexpr float kScale<std::int16_t> = 1.0f / 32768;

/// Adding zero makes a negative zero positive.
template <typename Sample>
void include(Peak& peak, Sample highest, Sample lowest) noexcept {
    const float maximum = static_cast<float>(highest) * kScale<Sample>;
    const float minimum = static_cast<float>(lowest) * kScale<Sample>;
    peak.maximum = (maximum > peak.maximum ? maximum : peak.maximum) + 0.0f;
    peak.minimum = (minimum < peak.minimum ? minimum : peak.minimum) + 0.0f;
}

// The samples are compared as they are, and only the result is scaled.
template <typename Sample, std::size_t channels>
void findPeaks(const void* samples, std::size_t frames, Peak* peaks) noexcept {
    using Limits = std::numeric_limits<Sample>;
    if (frames == 0) return;
    const Sample* const in = static_cast<const Sample*>(samples);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        Sample highest = Limits::has_infinity ? -Limits::infinity() : Limits::lowest();
        Sample lowest = Limits::has_infinity ? Limits::infinity() : Limits::max();
        for (std::size_t i = channel; i < frames * channels; i += channels) {
            highest = in[i] > highest ? in[i] : highest;
            lowest = in[i] < lowest ? in[i] : lowest;
        }
        include(peaks[channel], highest, lowest);
    }
}

}  // namespace

constinit const PeakKernels kPortablePeakKernels = {
    platform::SimdLevel::portable, findPeaks<std::int16_t, 1>, findPeaks<std::int16_t, 2>,
    findPeaks<float, 1>,           findPeaks<float, 2>,
};

}  // namespace marl::peaks
