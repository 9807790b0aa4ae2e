// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/PeakKernels.h>

#include <MarlCore/MediaManager/PeakKernelsImpl.h>

namespace marl::peaks {

const PeakKernels& peakKernels(platform::SimdLevel level) noexcept {
    const bool fast = level == platform::SimdLevel::avx2 && kAVX2PeakKernels != nullptr;
    return fast ? *kAVX2PeakKernels : kPortablePeakKernels;
}

const PeakKernels& peakKernels() noexcept {
    static const PeakKernels& chosen = peakKernels(platform::simdLevel());
    return chosen;
}

}  // namespace marl::peaks
