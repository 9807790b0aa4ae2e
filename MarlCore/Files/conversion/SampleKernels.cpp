// SPDX-License-Identifier: MIT
#include <MarlCore/Files/conversion/SampleKernels.h>

#include <MarlCore/Files/conversion/SampleKernelsImpl.h>

namespace marl::conversion {

const SampleKernels& sampleKernels(platform::SimdLevel level) noexcept {
    const bool fast = level == platform::SimdLevel::avx2 && kAVX2SampleKernels != nullptr;
    return fast ? *kAVX2SampleKernels : kPortableSampleKernels;
}

const SampleKernels& sampleKernels() noexcept {
    static const SampleKernels& chosen = sampleKernels(platform::simdLevel());
    return chosen;
}

}  // namespace marl::conversion
