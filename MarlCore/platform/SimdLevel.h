// SPDX-License-Identifier: MIT
/// \file
/// Which set of vector kernels the process uses: chosen once, listable, and forced by an environment
/// variable.
#pragma once

#include <MarlCore/platform/Export.h>

#include <span>

namespace platform {

/// A named set of kernels. Each kernel exists in the portable set; a faster set may replace it.
enum class SimdLevel {
    portable,  ///< plain C++, compiled on every host
    avx2,      ///< x86 with AVX2 and FMA
};

/// The levels that this processor and this build can run, slowest first; never empty. [any thread]
MARLCORE_EXPORT std::span<const SimdLevel> availableSimdLevels() noexcept;

/// The level that `MARLCORE_SIMD` names (`portable` or `avx2`) where it is available, else the fastest
/// available one. Read at the first call and constant from then on. [any thread]
MARLCORE_EXPORT SimdLevel simdLevel() noexcept;

/// The level's name as `MARLCORE_SIMD` takes it: a string that lives for the process. [any thread]
MARLCORE_EXPORT const char* simdLevelName(SimdLevel level) noexcept;

}  // namespace platform
