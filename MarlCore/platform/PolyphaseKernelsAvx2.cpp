// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PolyphaseKernels.h>
#include <MarlCore/platform/SimdTarget.h>

#if MARLCORE_X86_SIMD

#include <immintrin.h>

#include <cstring>

MARLCORE_BEGIN_TARGET("avx2,fma")

namespace platform::avx2 {
namespace {

// Keeps the compiler from loading a vector again for each use of it.
inline __m256 loadOnce(const float* address) {
    __m256 vector = _mm256_loadu_ps(address);
    __asm__("" : "+x"(vector));
    return vector;
}

// The sum of a vector: ((0 + 1) + (2 + 3)) + ((4 + 5) + (6 + 7)), four vectors at once.
inline __m128 sumsOf(__m256 a, __m256 b, __m256 c, __m256 d) {
    const __m256 quarters = _mm256_hadd_ps(_mm256_hadd_ps(a, b), _mm256_hadd_ps(c, d));
    return _mm_add_ps(_mm256_castps256_ps128(quarters), _mm256_extractf128_ps(quarters, 1));
}

// Sums `Count` vectors into `sums`.
template <std::size_t Count>
inline void storeSums(const __m256* vectors, float* sums) {
    alignas(16) float padded[(Count + 3) / 4 * 4];
#pragma GCC unroll 3
    for (std::size_t i = 0; i < Count; i += 4) {
        const auto vector = [&](std::size_t k) { return k < Count ? vectors[k] : _mm256_setzero_ps(); };
        _mm_store_ps(padded + i, sumsOf(vector(i), vector(i + 1), vector(i + 2), vector(i + 3)));
    }
    std::memcpy(sums, padded, Count * sizeof(float));
}

// Loads, not arithmetic, are the bottleneck of a plain dot product. Here each loaded vector of samples meets
// all rows, and each loaded vector of a row meets all streams: with two rows and six streams 8 loads for 12
// multiply-adds, in 12 + 2 + 1 registers.
template <std::size_t Rows, std::size_t Streams>
void dot(const float* rows, std::size_t length, const float* const* streams, float (*sums)[Rows]) {
    __m256 totals[Streams * Rows];
#pragma GCC unroll 12
    for (__m256& total : totals) total = _mm256_setzero_ps();
    for (std::size_t i = 0; i < length; i += 8) {
        __m256 weights[Rows];
#pragma GCC unroll 3
        for (std::size_t r = 0; r < Rows; ++r) weights[r] = loadOnce(rows + r * length + i);
#pragma GCC unroll 6
        for (std::size_t s = 0; s < Streams; ++s) {
            const __m256 samples = loadOnce(streams[s] + i);
#pragma GCC unroll 3
            for (std::size_t r = 0; r < Rows; ++r) {
                totals[s * Rows + r] = _mm256_fmadd_ps(weights[r], samples, totals[s * Rows + r]);
            }
        }
    }
    storeSums<Streams * Rows>(totals, sums[0]);
}

template <std::size_t Rows>
using DotFunction = void (*)(const float*, std::size_t, const float* const*, float (*)[Rows]);

void dotTwo(const float* rows, std::size_t length, const float* const* streams, std::size_t count,
            float (*sums)[2]) {
    static constexpr DotFunction<2> kByCount[PolyphaseKernels::kMaxStreamsOfTwo] = {
        dot<2, 1>, dot<2, 2>, dot<2, 3>, dot<2, 4>, dot<2, 5>, dot<2, 6>};
    kByCount[count - 1](rows, length, streams, sums);
}

void dotThree(const float* rows, std::size_t length, const float* const* streams, std::size_t count,
              float (*sums)[3]) {
    static constexpr DotFunction<3> kByCount[PolyphaseKernels::kMaxStreamsOfThree] = {dot<3, 1>, dot<3, 2>,
                                                                                      dot<3, 3>, dot<3, 4>};
    kByCount[count - 1](rows, length, streams, sums);
}

}  // namespace

const PolyphaseKernels kPolyphaseKernels = {dotTwo, dotThree};

}  // namespace platform::avx2

MARLCORE_END_TARGET

#endif
