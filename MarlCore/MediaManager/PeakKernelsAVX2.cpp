// SPDX-License-Identifier: MIT
// The kernels for processors with AVX2.
//
// Each compares whole vectors, whose even elements are left samples and odd ones right samples of a stereo
// stream, and folds them at the end: first the halves onto each other, as long as pairs are left. What does
// not fill a step is done by the portable set. 16-bit samples are compared as integers, and only the result
// is scaled.
#include <MarlCore/MediaManager/PeakKernelsImpl.h>
#include <MarlCore/platform/SimdTarget.h>

#if MARLCORE_X86_SIMD

#include <immintrin.h>

MARLCORE_BEGIN_TARGET("avx2")

namespace marl::peaks {
namespace avx2 {
namespace {

/// The extremes of left (or of all even) and right (odd) samples, as yet in the samples' own scale.
template <typename Sample>
struct Extremes {
    Sample maximum[2];
    Sample minimum[2];
};

// Elements 0 and 1 of the result are the extremes of the even and of the odd elements.
template <typename Compare>
__m128i folded(__m256i values, Compare compare) {
    __m128i pairs = compare(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    pairs = compare(pairs, _mm_srli_si128(pairs, 8));
    return compare(pairs, _mm_srli_si128(pairs, 4));
}

template <typename Compare>
__m128 folded(__m256 values, Compare compare) {
    const __m128 pairs = compare(_mm256_castps256_ps128(values), _mm256_extractf128_ps(values, 1));
    return compare(pairs, _mm_movehl_ps(pairs, pairs));
}

/// Samples of 16 bits in steps of two vectors; `samples` >= kStep.
struct Integers {
    using Sample = std::int16_t;
    static constexpr std::size_t kStep = 32;
    static constexpr float kScale = 1.0f / 32768;

    static __m256i load(const Sample* in) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in)); }

    static Extremes<Sample> of(const Sample* in, std::size_t samples) {
        __m256i highest0 = load(in), highest1 = load(in + 16), lowest0 = highest0, lowest1 = highest1;
        for (std::size_t i = kStep; i + kStep <= samples; i += kStep) {
            const __m256i values0 = load(in + i), values1 = load(in + i + 16);
            highest0 = _mm256_max_epi16(highest0, values0);
            highest1 = _mm256_max_epi16(highest1, values1);
            lowest0 = _mm256_min_epi16(lowest0, values0);
            lowest1 = _mm256_min_epi16(lowest1, values1);
        }
        const __m128i highest = folded(_mm256_max_epi16(highest0, highest1),
                                       [](__m128i a, __m128i b) { return _mm_max_epi16(a, b); });
        const __m128i lowest = folded(_mm256_min_epi16(lowest0, lowest1),
                                      [](__m128i a, __m128i b) { return _mm_min_epi16(a, b); });
        return {{static_cast<Sample>(_mm_extract_epi16(highest, 0)),
                 static_cast<Sample>(_mm_extract_epi16(highest, 1))},
                {static_cast<Sample>(_mm_extract_epi16(lowest, 0)),
                 static_cast<Sample>(_mm_extract_epi16(lowest, 1))}};
    }
};

/// Floats in steps of four vectors: the instructions take that long to answer. They return their second
/// operand when the first one is NaN, and no operand that was second ever is.
struct Floats {
    using Sample = float;
    static constexpr std::size_t kStep = 32;
    static constexpr float kScale = 1;

    static Extremes<Sample> of(const Sample* in, std::size_t samples) {
        const __m256 none = _mm256_set1_ps(-__builtin_inff());
        __m256 highest[4] = {none, none, none, none};
        __m256 lowest[4];
        for (__m256& values : lowest) values = _mm256_set1_ps(__builtin_inff());
        for (std::size_t i = 0; i + kStep <= samples; i += kStep) {
#pragma GCC unroll 4
            for (std::size_t k = 0; k < 4; ++k) {
                const __m256 values = _mm256_loadu_ps(in + i + 8 * k);
                highest[k] = _mm256_max_ps(values, highest[k]);
                lowest[k] = _mm256_min_ps(values, lowest[k]);
            }
        }
        const __m256 highestOfAll =
            _mm256_max_ps(_mm256_max_ps(highest[0], highest[1]), _mm256_max_ps(highest[2], highest[3]));
        const __m256 lowestOfAll =
            _mm256_min_ps(_mm256_min_ps(lowest[0], lowest[1]), _mm256_min_ps(lowest[2], lowest[3]));
        Extremes<Sample> extremes;
        _mm_storel_pi(reinterpret_cast<__m64*>(extremes.maximum),
                      folded(highestOfAll, [](__m128 a, __m128 b) { return _mm_max_ps(a, b); }));
        _mm_storel_pi(reinterpret_cast<__m64*>(extremes.minimum),
                      folded(lowestOfAll, [](__m128 a, __m128 b) { return _mm_min_ps(a, b); }));
        return extremes;
    }
};

void include(Peak& peak, float maximum, float minimum) {
    peak.maximum = (maximum > peak.maximum ? maximum : peak.maximum) + 0.0f;
    peak.minimum = (minimum < peak.minimum ? minimum : peak.minimum) + 0.0f;
}

template <typename Samples, std::size_t channels, PeakKernel PeakKernels::*rest>
void findPeaks(const void* samples, std::size_t frames, Peak* peaks) noexcept {
    const auto* const in = static_cast<const typename Samples::Sample*>(samples);
    const std::size_t whole = frames * channels / Samples::kStep * Samples::kStep;
    if (whole != 0) {
        const auto extremes = Samples::of(in, whole);
        for (std::size_t i = 0; i < 2; ++i)
            include(peaks[i % channels], static_cast<float>(extremes.maximum[i]) * Samples::kScale,
                    static_cast<float>(extremes.minimum[i]) * Samples::kScale);
    }
    (kPortablePeakKernels.*rest)(in + whole, frames - whole / channels, peaks);
}

constexpr PeakKernels kKernels = {
    platform::SimdLevel::avx2,
    findPeaks<Integers, 1, &PeakKernels::mono16>,
    findPeaks<Integers, 2, &PeakKernels::stereo16>,
    findPeaks<Floats, 1, &PeakKernels::monoFloat>,
    findPeaks<Floats, 2, &PeakKernels::stereoFloat>,
};

}  // namespace
}  // namespace avx2

constinit const PeakKernels* const kAVX2PeakKernels = &avx2::kKernels;

}  // namespace marl::peaks

MARLCORE_END_TARGET

#else

namespace marl::peaks {

constinit const PeakKernels* const kAVX2PeakKernels = nullptr;

}  // namespace marl::peaks

#endif
