// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PolyphaseKernels.h>

#include <MarlCore/platform/SimdTarget.h>

#include <array>

namespace platform {
namespace portable {
namespace {

constexpr std::size_t kLanes = 8;
using Lanes = std::array<float, kLanes>;

// In the order in which the fast set adds up a vector.
float sumOf(const Lanes& lanes) {
    return ((lanes[0] + lanes[1]) + (lanes[2] + lanes[3])) + ((lanes[4] + lanes[5]) + (lanes[6] + lanes[7]));
}

template <std::size_t Rows>
void dot(const float* rows, std::size_t length, const float* const* streams, std::size_t count,
         float (*sums)[Rows]) {
    for (std::size_t s = 0; s < count; ++s) {
        std::array<Lanes, Rows> lanes{};
        for (std::size_t i = 0; i < length; i += kLanes) {
            for (std::size_t r = 0; r < Rows; ++r) {
                for (std::size_t k = 0; k < kLanes; ++k)
                    lanes[r][k] += rows[r * length + i + k] * streams[s][i + k];
            }
        }
        for (std::size_t r = 0; r < Rows; ++r) sums[s][r] = sumOf(lanes[r]);
    }
}

}  // namespace

const PolyphaseKernels kPolyphaseKernels = {dot<2>, dot<3>};

}  // namespace portable

const PolyphaseKernels& polyphaseKernels([[maybe_unused]] SimdLevel level) noexcept {
#if MARLCORE_X86_SIMD
    if (level == SimdLevel::avx2) return avx2::kPolyphaseKernels;
#endif
    return portable::kPolyphaseKernels;
}

}  // namespace platform
