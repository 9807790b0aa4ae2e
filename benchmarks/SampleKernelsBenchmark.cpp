// SPDX-License-Identifier: MIT
// The sample kernels beside what a user would write, a plain loop, and beside a bare loop of AVX2
// instructions that knows no remainder, no limits and no NaN: about what the processor can do.
//
// Blocks of 32 KiB of source stay within the second-level cache, 64 MiB are beyond all of them. Run with
// --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
// --benchmark_report_aggregates_only=true so that the versions take turns, and compare medians.
#include <MarlCore/Files/conversion/SampleKernels.h>
#include <MarlCore/platform/SimdLevel.h>
#include <MarlCore/platform/SimdTarget.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#if MARLCORE_X86_SIMD
#include <immintrin.h>
#endif

namespace {

using marl::conversion::kScaleOf24;
using marl::conversion::SampleKernel;
using marl::conversion::SampleKernels;

using Byte = unsigned char;

// ---- Plain loops, as in a program that never looked at its compiler's output ----

template <class In, class Out, class Convert>
void eachSample(const void* source, void* destination, std::size_t samples, Convert convert) {
    const auto* in = static_cast<const In*>(source);
    auto* out = static_cast<Out*>(destination);
    for (std::size_t i = 0; i < samples; ++i) out[i] = convert(in[i]);
}

struct Packed24 {
    Byte bytes[3];
};

template <bool reversed>
int valueOf(Packed24 sample) {
    const unsigned high = sample.bytes[reversed ? 0 : 2];
    const unsigned low = sample.bytes[reversed ? 2 : 0];
    return static_cast<int>(high << 24 | static_cast<unsigned>(sample.bytes[1]) << 16 | low << 8) >> 8;
}

Packed24 packed(int value) {
    return {{static_cast<Byte>(value), static_cast<Byte>(value >> 8), static_cast<Byte>(value >> 16)}};
}

short swapped(short sample) {
    return static_cast<short>(__builtin_bswap16(static_cast<unsigned short>(sample)));
}

int swapped(int sample) {
    return static_cast<int>(__builtin_bswap32(static_cast<unsigned>(sample)));
}

Packed24 swapped(Packed24 sample) {
    return {{sample.bytes[2], sample.bytes[1], sample.bytes[0]}};
}

long rounded(float value, float fullScale) {
    const float scaled = value * fullScale;
    if (std::isnan(scaled)) return 0;
    if (scaled <= -fullScale) return static_cast<long>(-fullScale);
    if (scaled >= fullScale - 1) return static_cast<long>(fullScale - 1);
    return std::lrint(scaled);
}

template <class Sample>
void plainReverse(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<Sample, Sample>(source, destination, samples, [](Sample sample) { return swapped(sample); });
}

template <bool reversed>
void plain16ToFloat(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<short, float>(source, destination, samples, [](short value) {
        return static_cast<float>(reversed ? swapped(value) : value) * (1.0f / 32768.0f);
    });
}

template <bool reversed>
void plain24ToFloat(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<Packed24, float>(source, destination, samples, [](Packed24 sample) {
        return static_cast<float>(valueOf<reversed>(sample)) * kScaleOf24;
    });
}

template <bool reversed>
void plain24To16(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<Packed24, short>(source, destination, samples, [](Packed24 sample) {
        return static_cast<short>(valueOf<reversed>(sample) >> 8);
    });
}

void plainUnsigned8To16(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<Byte, short>(source, destination, samples,
                            [](Byte byte) { return static_cast<short>((byte - 128) * 256); });
}

void plainSigned8To16(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<signed char, short>(source, destination, samples,
                                   [](signed char byte) { return static_cast<short>(byte * 256); });
}

void plainUnsigned8ToFloat(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<Byte, float>(source, destination, samples,
                            [](Byte byte) { return static_cast<float>(byte) * 0.0078125f - 1.0f; });
}

void plain16To24(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<short, Packed24>(source, destination, samples,
                                [](short value) { return packed(value * 256); });
}

void plainFloatTo16(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<float, short>(source, destination, samples,
                             [](float value) { return static_cast<short>(rounded(value, 32768.0f)); });
}

void plainFloatTo24(const void* source, void* destination, std::size_t samples) noexcept {
    eachSample<float, Packed24>(source, destination, samples, [](float value) {
        return packed(static_cast<int>(rounded(value, 8388608.0f)));
    });
}

template <std::size_t width>
void plainDuplicate(const void* source, void* destination, std::size_t samples) noexcept {
    const auto* in = static_cast<const Byte*>(source);
    auto* out = static_cast<Byte*>(destination);
    for (std::size_t i = 0; i < samples; ++i, in += width, out += 2 * width)
        for (std::size_t byte = 0; byte < width; ++byte) out[byte] = out[width + byte] = in[byte];
}

}  // namespace

// ---- Bare AVX2 loops: whole vectors of sound only ----

#if MARLCORE_X86_SIMD
MARLCORE_BEGIN_TARGET("avx2")
namespace avx2 {
namespace {

__m128i load16Bytes(const Byte* in) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
}

const Byte* bytesOf(const void* memory) {
    return static_cast<const Byte*>(memory);
}

template <bool reversed>
void bare16ToFloat(const void* source, void* destination, std::size_t samples) noexcept {
    const __m128i pairs = _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    float* out = static_cast<float*>(destination);
#pragma GCC unroll 4
    for (std::size_t i = 0; i + 8 <= samples; i += 8) {
        __m128i integers = load16Bytes(bytesOf(source) + 2 * i);
        if (reversed) integers = _mm_shuffle_epi8(integers, pairs);
        const __m256 floats = _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(integers));
        _mm256_storeu_ps(out + i, _mm256_mul_ps(floats, _mm256_set1_ps(1.0f / 32768.0f)));
    }
}

template <bool reversed>
void bare24ToFloat(const void* source, void* destination, std::size_t samples) noexcept {
    const __m256i upper = reversed
                              ? _mm256_setr_epi8(-1, 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9,  //
                                                 -1, 6, 5, 4, -1, 9, 8, 7, -1, 12, 11, 10, -1, 15, 14, 13)
                              : _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11,  //
                                                 -1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15);
    float* out = static_cast<float*>(destination);
#pragma GCC unroll 4
    for (std::size_t i = 0; i + 8 <= samples; i += 8) {
        const Byte* in = bytesOf(source) + 3 * i;
        const __m256i packed =
            _mm256_inserti128_si256(_mm256_castsi128_si256(load16Bytes(in)), load16Bytes(in + 8), 1);
        const __m256i integers = _mm256_srai_epi32(_mm256_shuffle_epi8(packed, upper), 8);
        _mm256_storeu_ps(out + i, _mm256_mul_ps(_mm256_cvtepi32_ps(integers), _mm256_set1_ps(kScaleOf24)));
    }
}

__m256i bareRounded(const Byte* in, float fullScale) {
    const __m256 floats = _mm256_loadu_ps(reinterpret_cast<const float*>(in));
    return _mm256_cvtps_epi32(_mm256_mul_ps(floats, _mm256_set1_ps(fullScale)));
}

void bareFloatTo16(const void* source, void* destination, std::size_t samples) noexcept {
    short* out = static_cast<short*>(destination);
#pragma GCC unroll 4
    for (std::size_t i = 0; i + 16 <= samples; i += 16) {
        const Byte* in = bytesOf(source) + 4 * i;
        const __m256i both = _mm256_packs_epi32(bareRounded(in, 32768.0f), bareRounded(in + 32, 32768.0f));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), _mm256_permute4x64_epi64(both, 0xD8));
    }
}

// Leaves the last samples out: each store reaches eight bytes past its own.
void bareFloatTo24(const void* source, void* destination, std::size_t samples) noexcept {
    const __m256i threes = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                            0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    Byte* out = static_cast<Byte*>(destination);
#pragma GCC unroll 4
    for (std::size_t i = 0; i + 11 <= samples; i += 8) {
        const __m256i lanes = _mm256_shuffle_epi8(bareRounded(bytesOf(source) + 4 * i, 8388608.0f), threes);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 3 * i),
                            _mm256_permutevar8x32_epi32(lanes, together));
    }
}

}  // namespace
}  // namespace avx2
MARLCORE_END_TARGET
#endif

namespace {

// ---- What is measured ----

struct Row {
    const char* name;
    std::size_t sourceBytes;
    std::size_t destinationBytes;
    SampleKernel SampleKernels::*kernel;
    SampleKernel plain;
    SampleKernel bare;  // null: no bound of its own
};

#if MARLCORE_X86_SIMD
#define MARL_BARE(kernel) avx2::kernel
#else
#define MARL_BARE(kernel) nullptr
#endif

using Set = SampleKernels;

const Row kRows[] = {
    {"reverse16", 2, 2, &Set::reverse16, plainReverse<short>, nullptr},
    {"reverse24", 3, 3, &Set::reverse24, plainReverse<Packed24>, nullptr},
    {"reverse32", 4, 4, &Set::reverse32, plainReverse<int>, nullptr},
    {"unsigned8To16", 1, 2, &Set::unsigned8To16, plainUnsigned8To16, nullptr},
    {"signed8To16", 1, 2, &Set::signed8To16, plainSigned8To16, nullptr},
    {"unsigned8ToFloat", 1, 4, &Set::unsigned8ToFloat, plainUnsigned8ToFloat, nullptr},
    {"int16ToFloat", 2, 4, &Set::int16ToFloat, plain16ToFloat<false>, MARL_BARE(bare16ToFloat<false>)},
    {"reversed16ToFloat", 2, 4, &Set::reversed16ToFloat, plain16ToFloat<true>,
     MARL_BARE(bare16ToFloat<true>)},
    {"int24ToFloat", 3, 4, &Set::int24ToFloat, plain24ToFloat<false>, MARL_BARE(bare24ToFloat<false>)},
    {"reversed24ToFloat", 3, 4, &Set::reversed24ToFloat, plain24ToFloat<true>,
     MARL_BARE(bare24ToFloat<true>)},
    {"int16To24", 2, 3, &Set::int16To24, plain16To24, nullptr},
    {"int24To16", 3, 2, &Set::int24To16, plain24To16<false>, nullptr},
    {"reversed24To16", 3, 2, &Set::reversed24To16, plain24To16<true>, nullptr},
    {"floatTo16", 4, 2, &Set::floatTo16, plainFloatTo16, MARL_BARE(bareFloatTo16)},
    {"floatTo24", 4, 3, &Set::floatTo24, plainFloatTo24, MARL_BARE(bareFloatTo24)},
    {"duplicate16", 2, 4, &Set::duplicate16, plainDuplicate<2>, nullptr},
    {"duplicate24", 3, 6, &Set::duplicate24, plainDuplicate<3>, nullptr},
    {"duplicate32", 4, 8, &Set::duplicate32, plainDuplicate<4>, nullptr},
};

/// Sound as floats where the samples have four bytes, else any bytes.
std::vector<Byte> sourceFor(const Row& row, std::size_t bytes) {
    std::mt19937 random(1);
    std::vector<Byte> source(bytes);
    if (row.sourceBytes == 4) {
        for (std::size_t i = 0; i + 4 <= bytes; i += 4) {
            const float sample = static_cast<float>(static_cast<int>(random())) / 2147483648.0f;
            std::memcpy(source.data() + i, &sample, sizeof sample);
        }
    } else {
        for (Byte& byte : source) byte = static_cast<Byte>(random());
    }
    return source;
}

/// All but the last 16 samples, which a bare loop may leave out.
bool givesSameSamples(const Row& row, SampleKernel kernel, const std::vector<Byte>& source,
                      std::vector<Byte>& destination) {
    const std::size_t samples = source.size() / row.sourceBytes;
    std::vector<Byte> wanted(destination.size());
    (marl::conversion::sampleKernels(platform::SimdLevel::portable).*row.kernel)(source.data(), wanted.data(),
                                                                                 samples);
    kernel(source.data(), destination.data(), samples);
    return std::memcmp(wanted.data(), destination.data(), (samples - 16) * row.destinationBytes) == 0;
}

void measure(benchmark::State& state, const Row& row, SampleKernel kernel) {
    const std::vector<Byte> source = sourceFor(row, static_cast<std::size_t>(state.range(0)));
    const std::size_t samples = source.size() / row.sourceBytes;
    std::vector<Byte> destination(samples * row.destinationBytes);
    if (!givesSameSamples(row, kernel, source, destination)) {
        state.SkipWithError("wrong samples");
        return;
    }
    for (auto _ : state) {
        kernel(source.data(), destination.data(), samples);
        benchmark::ClobberMemory();
    }
    const double converted = static_cast<double>(samples) * static_cast<double>(state.iterations());
    state.counters["Msamples/s"] = benchmark::Counter(converted / 1e6, benchmark::Counter::kIsRate);
}

void add(const Row& row, const std::string& version, SampleKernel kernel) {
    const std::string name = std::string(row.name) + "/" + version;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [&row, kernel](benchmark::State& state) { measure(state, row, kernel); })
        ->Arg(32 << 10)
        ->Arg(64 << 20);
}

void addAll() {
    for (const Row& row : kRows) {
        add(row, "plain", row.plain);
        for (const auto level : platform::availableSimdLevels())
            add(row, platform::simdLevelName(level), marl::conversion::sampleKernels(level).*row.kernel);
        const bool canRunBare = platform::availableSimdLevels().back() == platform::SimdLevel::avx2;
        if (row.bare != nullptr && canRunBare) add(row, "bare", row.bare);
    }
}

}  // namespace

int main(int argc, char** argv) {
    addAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
