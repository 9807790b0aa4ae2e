// SPDX-License-Identifier: MIT
#include <MarlCore/platform/SimdLevel.h>
#include <MarlCore/platform/SimdTarget.h>

#include <cstdlib>
#include <cstring>

namespace platform {
namespace {

constexpr SimdLevel kLevels[] = {SimdLevel::portable, SimdLevel::avx2};

bool processorHasAvx2() noexcept {
#if MARLCORE_X86_SIMD
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#else
    return false;
#endif
}

SimdLevel chooseSimdLevel() noexcept {
    const auto available = availableSimdLevels();
    if (const char* forced = std::getenv("MARLCORE_SIMD")) {
        for (const SimdLevel level : available) {
            if (std::strcmp(forced, simdLevelName(level)) == 0) return level;
        }
    }
    return available.back();
}

}  // namespace

std::span<const SimdLevel> availableSimdLevels() noexcept {
    static const std::size_t count = processorHasAvx2() ? 2 : 1;
    return {kLevels, count};
}

SimdLevel simdLevel() noexcept {
    static const SimdLevel level = chooseSimdLevel();
    return level;
}

const char* simdLevelName(SimdLevel level) noexcept {
    return level == SimdLevel::avx2 ? "avx2" : "portable";
}

}  // namespace platform
