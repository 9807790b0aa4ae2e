// SPDX-License-Identifier: MIT
// The kernels for processors with AVX2.
//
// Each is a step over a few vectors, repeated as long as whole steps are left; the portable set does the
// rest. Most of the work is one byte shuffle: it reverses, widens, narrows and duplicates at once. Samples
// that become floats are shuffled into the *upper* bytes of a 32-bit integer, which puts their sign where it
// belongs for nothing; the power of two too much goes into the factor, where it costs no rounding.
#include <MarlCore/Files/conversion/SampleKernelsImpl.h>
#include <MarlCore/platform/SimdTarget.h>

#if MARLCORE_X86_SIMD

#include <immintrin.h>

MARLCORE_BEGIN_TARGET("avx2")

namespace marl::conversion {
namespace avx2 {
namespace {

using Byte = unsigned char;

__m128i load16Bytes(const Byte* in) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
}

__m128i load8Bytes(const Byte* in) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in));
}

__m256i load32Bytes(const Byte* in) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
}

// 8 packed samples of 24 bits, four to a lane: at bytes 0 to 11 of the lower lane and 4 to 15 of the upper,
// so that not a byte beside them is read.
__m256i loadEight24(const Byte* in) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load16Bytes(in)), load16Bytes(in + 8), 1);
}

__m256i loadSame16BytesTwice(const Byte* in) {
    return _mm256_broadcastsi128_si256(load16Bytes(in));
}

void store16Bytes(Byte* out, __m128i bytes) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
}

void store8Bytes(Byte* out, __m128i bytes) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), bytes);
}

void store32Bytes(Byte* out, __m256i bytes) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
}

void storeFloats(Byte* out, __m256 floats) {
    store32Bytes(out, _mm256_castps_si256(floats));
}

// A step converts `samplesAStep` samples and may touch those up to `samplesInReach`, which the next step or
// the portable kernel then does over again.
using Step = void (*)(const Byte* in, Byte* out);

// Unrolled, because a step is so short that counting the steps costs up to a quarter of the time.
template <std::size_t sourceBytes, std::size_t destinationBytes, std::size_t samplesAStep, Step step,
          SampleKernel SampleKernels::*rest, std::size_t samplesInReach = samplesAStep>
void convert(const void* source, void* destination, std::size_t samples) noexcept {
    const Byte* in = static_cast<const Byte*>(source);
    Byte* out = static_cast<Byte*>(destination);
#pragma GCC unroll 4
    for (; samples >= samplesInReach; samples -= samplesAStep) {
        step(in, out);
        in += samplesAStep * sourceBytes;
        out += samplesAStep * destinationBytes;
    }
    (kPortableSampleKernels.*rest)(in, out, samples);
}

void reverse16(const Byte* in, Byte* out) {
    const __m256i pairs = _mm256_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14,  //
                                           1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    store32Bytes(out, _mm256_shuffle_epi8(load32Bytes(in), pairs));
}

void reverse32(const Byte* in, Byte* out) {
    const __m256i fours = _mm256_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12,  //
                                           3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
    store32Bytes(out, _mm256_shuffle_epi8(load32Bytes(in), fours));
}

// Five samples a vector leave one byte over, which stays as it is. The next vector is loaded before this one
// is stored: in place, a load that overlaps a store just made would have to wait for it.
void reverse24(const void* source, void* destination, std::size_t samples) noexcept {
    const __m128i threes = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15);
    const Byte* in = static_cast<const Byte*>(source);
    Byte* out = static_cast<Byte*>(destination);
    if (samples >= 6) {
        __m128i current = load16Bytes(in);
        for (; samples >= 11; samples -= 5) {
            const __m128i next = load16Bytes(in += 15);
            store16Bytes(out, _mm_shuffle_epi8(current, threes));
            out += 15;
            current = next;
        }
        store16Bytes(out, _mm_shuffle_epi8(current, threes));
        in += 15;
        out += 15;
        samples -= 5;
    }
    kPortableSampleKernels.reverse24(in, out, samples);
}

__m256i widen8To16(const Byte* in) {
    return _mm256_slli_epi16(_mm256_cvtepu8_epi16(load16Bytes(in)), 8);
}

void signed8To16(const Byte* in, Byte* out) {
    store32Bytes(out, widen8To16(in));
}

// Subtracting 128 from a byte only turns its upper bit over.
void unsigned8To16(const Byte* in, Byte* out) {
    store32Bytes(out, _mm256_xor_si256(widen8To16(in), _mm256_set1_epi16(static_cast<short>(0x8000))));
}

void unsigned8ToFloat(const Byte* in, Byte* out) {
    const __m256 values = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(load8Bytes(in)));
    const __m256 scaled = _mm256_mul_ps(values, _mm256_set1_ps(0.0078125f));
    storeFloats(out, _mm256_sub_ps(scaled, _mm256_set1_ps(1.0f)));
}

// `upper` moves each sample to the upper 16 bits of an integer, which so is 65536 times the sample.
void int16ToFloats(const Byte* in, Byte* out, __m256i upper) {
    const __m256i integers = _mm256_shuffle_epi8(loadSame16BytesTwice(in), upper);
    storeFloats(out, _mm256_mul_ps(_mm256_cvtepi32_ps(integers), _mm256_set1_ps(1.0f / 32768.0f / 65536.0f)));
}

void int16ToFloat(const Byte* in, Byte* out) {
    int16ToFloats(in, out,
                  _mm256_setr_epi8(-1, -1, 0, 1, -1, -1, 2, 3, -1, -1, 4, 5, -1, -1, 6, 7,  //
                                   -1, -1, 8, 9, -1, -1, 10, 11, -1, -1, 12, 13, -1, -1, 14, 15));
}

void reversed16ToFloat(const Byte* in, Byte* out) {
    int16ToFloats(in, out,
                  _mm256_setr_epi8(-1, -1, 1, 0, -1, -1, 3, 2, -1, -1, 5, 4, -1, -1, 7, 6,  //
                                   -1, -1, 9, 8, -1, -1, 11, 10, -1, -1, 13, 12, -1, -1, 15, 14));
}

// `upper` moves each sample to the upper 24 bits of an integer, which so is 256 times the sample.
void int24ToFloats(const Byte* in, Byte* out, __m256i upper) {
    const __m256i integers = _mm256_shuffle_epi8(loadEight24(in), upper);
    storeFloats(out, _mm256_mul_ps(_mm256_cvtepi32_ps(integers), _mm256_set1_ps(kScaleOf24 / 256.0f)));
}

void int24ToFloat(const Byte* in, Byte* out) {
    int24ToFloats(in, out,
                  _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11,  //
                                   -1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15));
}

void reversed24ToFloat(const Byte* in, Byte* out) {
    int24ToFloats(in, out,
                  _mm256_setr_epi8(-1, 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9,  //
                                   -1, 6, 5, 4, -1, 9, 8, 7, -1, 12, 11, 10, -1, 15, 14, 13));
}

void int16To24(const Byte* in, Byte* out) {
    const __m128i first = _mm_setr_epi8(-1, 0, 1, -1, 2, 3, -1, 4, 5, -1, 6, 7, -1, 8, 9, -1);
    const __m128i last = _mm_setr_epi8(10, 11, -1, 12, 13, -1, 14, 15, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m128i samples = load16Bytes(in);
    store16Bytes(out, _mm_shuffle_epi8(samples, first));
    store8Bytes(out + 16, _mm_shuffle_epi8(samples, last));
}

// `lower` and `upper` gather the upper 16 bits of the samples 0 to 3 and 4 to 7.
void eight24To16(const Byte* in, Byte* out, __m128i lower, __m128i upper) {
    const __m128i first = _mm_shuffle_epi8(load16Bytes(in), lower);
    const __m128i last = _mm_shuffle_epi8(load16Bytes(in + 8), upper);
    store16Bytes(out, _mm_or_si128(first, last));
}

void int24To16(const Byte* in, Byte* out) {
    eight24To16(in, out, _mm_setr_epi8(1, 2, 4, 5, 7, 8, 10, 11, -1, -1, -1, -1, -1, -1, -1, -1),
                _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 5, 6, 8, 9, 11, 12, 14, 15));
}

void reversed24To16(const Byte* in, Byte* out) {
    eight24To16(in, out, _mm_setr_epi8(1, 0, 4, 3, 7, 6, 10, 9, -1, -1, -1, -1, -1, -1, -1, -1),
                _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 5, 4, 8, 7, 11, 10, 14, 13));
}

// Scaled, limited and rounded. Both limits let a NaN pass (they return their second operand), and the
// conversion makes 0x80000000 of it: the lower bytes, all that is kept of an integer, are 0 as they must be.
__m256i roundToIntegers(const Byte* in, float fullScale) {
    const __m256 floats = _mm256_castsi256_ps(load32Bytes(in));
    const __m256 scaled = _mm256_mul_ps(floats, _mm256_set1_ps(fullScale));
    const __m256 notAbove = _mm256_min_ps(_mm256_set1_ps(fullScale - 1.0f), scaled);
    return _mm256_cvtps_epi32(_mm256_max_ps(_mm256_set1_ps(-fullScale), notAbove));
}

// Gathers the lower halves of integers: not by packing, which would limit the 0x80000000 of a NaN to -32768.
// This works within lanes and leaves the quarters in the order 0, 2, 1, 3.
void floatTo16(const Byte* in, Byte* out) {
    const __m256i toLower = _mm256_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1,  //
                                             0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i toUpper = _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 4, 5, 8, 9, 12, 13,  //
                                             -1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 4, 5, 8, 9, 12, 13);
    const __m256i first = _mm256_shuffle_epi8(roundToIntegers(in, 32768.0f), toLower);
    const __m256i last = _mm256_shuffle_epi8(roundToIntegers(in + 32, 32768.0f), toUpper);
    store32Bytes(out, _mm256_permute4x64_epi64(_mm256_or_si256(first, last), 0b11'01'10'00));
}

// Eight samples fill 24 of the 32 bytes stored.
void floatTo24(const Byte* in, Byte* out) {
    const __m256i threes = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                            0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i packedLanes = _mm256_shuffle_epi8(roundToIntegers(in, 8388608.0f), threes);
    const __m256i packed =
        _mm256_permutevar8x32_epi32(packedLanes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    store32Bytes(out, packed);
}

// Unpacking works within lanes, so the quarters are put into the order 0, 2, 1, 3 before.
void duplicate16(const Byte* in, Byte* out) {
    const __m256i samples = _mm256_permute4x64_epi64(load32Bytes(in), 0b11'01'10'00);
    store32Bytes(out, _mm256_unpacklo_epi16(samples, samples));
    store32Bytes(out + 32, _mm256_unpackhi_epi16(samples, samples));
}

void duplicate32(const Byte* in, Byte* out) {
    const __m256i samples = _mm256_permute4x64_epi64(load32Bytes(in), 0b11'01'10'00);
    store32Bytes(out, _mm256_unpacklo_epi32(samples, samples));
    store32Bytes(out + 32, _mm256_unpackhi_epi32(samples, samples));
}

// Eight samples, 24 bytes, become three vectors of 16; the middle one begins and ends inside a sample.
void duplicate24(const Byte* in, Byte* out) {
    const __m128i begin = _mm_setr_epi8(0, 1, 2, 0, 1, 2, 3, 4, 5, 3, 4, 5, 6, 7, 8, 6);
    const __m128i middle = _mm_setr_epi8(3, 4, 5, 6, 7, 5, 6, 7, 8, 9, 10, 8, 9, 10, 11, 12);
    const __m128i end = _mm_setr_epi8(9, 7, 8, 9, 10, 11, 12, 10, 11, 12, 13, 14, 15, 13, 14, 15);
    store16Bytes(out, _mm_shuffle_epi8(load16Bytes(in), begin));
    store16Bytes(out + 16, _mm_shuffle_epi8(load16Bytes(in + 4), middle));
    store16Bytes(out + 32, _mm_shuffle_epi8(load16Bytes(in + 8), end));
}

constinit const SampleKernels kKernels = {
    .level = platform::SimdLevel::avx2,
    .reverse16 = convert<2, 2, 16, reverse16, &SampleKernels::reverse16>,
    .reverse24 = reverse24,
    .reverse32 = convert<4, 4, 8, reverse32, &SampleKernels::reverse32>,
    .unsigned8To16 = convert<1, 2, 16, unsigned8To16, &SampleKernels::unsigned8To16>,
    .signed8To16 = convert<1, 2, 16, signed8To16, &SampleKernels::signed8To16>,
    .unsigned8ToFloat = convert<1, 4, 8, unsigned8ToFloat, &SampleKernels::unsigned8ToFloat>,
    .int16ToFloat = convert<2, 4, 8, int16ToFloat, &SampleKernels::int16ToFloat>,
    .reversed16ToFloat = convert<2, 4, 8, reversed16ToFloat, &SampleKernels::reversed16ToFloat>,
    .int24ToFloat = convert<3, 4, 8, int24ToFloat, &SampleKernels::int24ToFloat>,
    .reversed24ToFloat = convert<3, 4, 8, reversed24ToFloat, &SampleKernels::reversed24ToFloat>,
    .int16To24 = convert<2, 3, 8, int16To24, &SampleKernels::int16To24>,
    .int24To16 = convert<3, 2, 8, int24To16, &SampleKernels::int24To16>,
    .reversed24To16 = convert<3, 2, 8, reversed24To16, &SampleKernels::reversed24To16>,
    .floatTo16 = convert<4, 2, 16, floatTo16, &SampleKernels::floatTo16>,
    .floatTo24 = convert<4, 3, 8, floatTo24, &SampleKernels::floatTo24, 11>,
    .duplicate16 = convert<2, 4, 16, duplicate16, &SampleKernels::duplicate16>,
    .duplicate24 = convert<3, 6, 8, duplicate24, &SampleKernels::duplicate24>,
    .duplicate32 = convert<4, 8, 8, duplicate32, &SampleKernels::duplicate32>,
};

}  // namespace
}  // namespace avx2

constinit const SampleKernels* const kAVX2SampleKernels = &avx2::kKernels;

}  // namespace marl::conversion

MARLCORE_END_TARGET

#else

namespace marl::conversion {

constinit const SampleKernels* const kAVX2SampleKernels = nullptr;

}  // namespace marl::conversion

#endif
