// SPDX-License-Identifier: MIT
#include <MarlCore/Files/conversion/SampleKernels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace marl::conversion {
namespace {

using Byte = unsigned char;
using Bytes = std::vector<Byte>;

constexpr bool kHighByteFirst = std::endian::native == std::endian::big;

// ---- The formulas, one sample at a time, in arithmetic that has nothing in common with the kernels' ----

/// The `width` bytes at `in`, in host order, as a signed number.
int signedNumber(const Byte* in, int width) {
    int number = 0;
    for (int i = 0; i < width; ++i) number = number * 256 + in[kHighByteFirst ? i : width - 1 - i];
    const int range = 1 << (8 * width - 1);
    return number < range ? number : number - 2 * range;
}

void putNumber(Byte* out, int width, int number) {
    const int range = 1 << (8 * width - 1);
    int rest = number < 0 ? number + 2 * range : number;
    for (int i = 0; i < width; ++i, rest /= 256)
        out[kHighByteFirst ? width - 1 - i : i] = static_cast<Byte>(rest % 256);
}

void putFloat(Byte* out, double value) {
    const float rounded = static_cast<float>(value);
    std::memcpy(out, &rounded, sizeof rounded);
}

double floatAt(const Byte* in) {
    float value;
    std::memcpy(&value, in, sizeof value);
    return value;
}

using Formula = void (*)(const Byte* in, Byte* out);

template <int width>
void reversal(const Byte* in, Byte* out) {
    std::reverse_copy(in, in + width, out);
}

template <int width, Formula formula>
void ofReversed(const Byte* in, Byte* out) {
    Byte turned[width];
    reversal<width>(in, turned);
    formula(turned, out);
}

void unsigned8To16(const Byte* in, Byte* out) {
    putNumber(out, 2, (in[0] - 128) * 256);
}
void signed8To16(const Byte* in, Byte* out) {
    putNumber(out, 2, signedNumber(in, 1) * 256);
}
void unsigned8ToFloat(const Byte* in, Byte* out) {
    putFloat(out, in[0] * 0.0078125 - 1.0);
}
void int16ToFloat(const Byte* in, Byte* out) {
    putFloat(out, signedNumber(in, 2) / 32768.0);
}

// The product of two 24-bit numbers fits a double, so only the conversion to float rounds.
void int24ToFloat(const Byte* in, Byte* out) {
    const double scale = std::bit_cast<float>(0x33F7292Du);
    putFloat(out, signedNumber(in, 3) * scale);
}

void int16To24(const Byte* in, Byte* out) {
    putNumber(out, 3, signedNumber(in, 2) * 256);
}

void int24To16(const Byte* in, Byte* out) {
    putNumber(out, 2, static_cast<int>(std::floor(signedNumber(in, 3) / 256.0)));
}

template <int width>
void floatToInteger(const Byte* in, Byte* out) {
    const double fullScale = std::ldexp(1.0, 8 * width - 1);
    const double rounded = std::nearbyint(floatAt(in) * fullScale);
    const double limited = std::clamp(rounded, -fullScale, fullScale - 1);
    putNumber(out, width, std::isnan(rounded) ? 0 : static_cast<int>(limited));
}

template <int width>
void duplicate(const Byte* in, Byte* out) {
    std::copy_n(in, width, out);
    std::copy_n(in, width, out + width);
}

// ---- Every kernel with its formula ----

struct Row {
    const char* name;
    SampleKernel SampleKernels::*kernel;
    std::size_t sourceBytes;
    std::size_t destinationBytes;
    Formula formula;
};

using Set = SampleKernels;

constexpr Row kRows[] = {
    {"reverse16", &Set::reverse16, 2, 2, reversal<2>},
    {"reverse24", &Set::reverse24, 3, 3, reversal<3>},
    {"reverse32", &Set::reverse32, 4, 4, reversal<4>},
    {"unsigned8To16", &Set::unsigned8To16, 1, 2, unsigned8To16},
    {"signed8To16", &Set::signed8To16, 1, 2, signed8To16},
    {"unsigned8ToFloat", &Set::unsigned8ToFloat, 1, 4, unsigned8ToFloat},
    {"int16ToFloat", &Set::int16ToFloat, 2, 4, int16ToFloat},
    {"reversed16ToFloat", &Set::reversed16ToFloat, 2, 4, ofReversed<2, int16ToFloat>},
    {"int24ToFloat", &Set::int24ToFloat, 3, 4, int24ToFloat},
    {"reversed24ToFloat", &Set::reversed24ToFloat, 3, 4, ofReversed<3, int24ToFloat>},
    {"int16To24", &Set::int16To24, 2, 3, int16To24},
    {"int24To16", &Set::int24To16, 3, 2, int24To16},
    {"reversed24To16", &Set::reversed24To16, 3, 2, ofReversed<3, int24To16>},
    {"floatTo16", &Set::floatTo16, 4, 2, floatToInteger<2>},
    {"floatTo24", &Set::floatTo24, 4, 3, floatToInteger<3>},
    {"duplicate16", &Set::duplicate16, 2, 4, duplicate<2>},
    {"duplicate24", &Set::duplicate24, 3, 6, duplicate<3>},
    {"duplicate32", &Set::duplicate32, 4, 8, duplicate<4>},
};

Bytes expected(const Row& row, const Byte* source, std::size_t samples) {
    Bytes bytes(samples * row.destinationBytes);
    for (std::size_t i = 0; i < samples; ++i)
        row.formula(source + i * row.sourceBytes, bytes.data() + i * row.destinationBytes);
    return bytes;
}

void run(const Row& row, platform::SimdLevel level, const void* source, void* destination,
         std::size_t samples) {
    (sampleKernels(level).*row.kernel)(source, destination, samples);
}

std::string describe(const Row& row, platform::SimdLevel level) {
    return std::string(row.name) + ", " + platform::simdLevelName(level);
}

// ---- Sources ----

constexpr std::uint32_t kSeed = 20240229;
constexpr std::size_t kRandomFloats = 10'000'000;
constexpr std::size_t kBlock = 1 << 16;

/// Every value of `width` bytes, `kBlock` or fewer at a time: block `index`, empty after the last.
Bytes everyInteger(std::size_t width, std::size_t index) {
    const std::size_t values = std::size_t{1} << (8 * width);
    const std::size_t first = std::min(values, index * kBlock);
    const std::size_t count = std::min(kBlock, values - first);
    Bytes bytes(count * width);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<Byte>((first + i / width) >> (8 * (i % width)));
    return bytes;
}

/// Limits, ties and what is no number: where the rounding of floats can go wrong.
std::vector<float> specialFloats() {
    using Limits = std::numeric_limits<float>;
    std::vector<float> floats = {0.0f,
                                 Limits::min(),
                                 Limits::denorm_min(),
                                 Limits::max(),
                                 Limits::infinity(),
                                 Limits::quiet_NaN(),
                                 Limits::signaling_NaN(),
                                 1.0f};
    for (const float fullScale : {32768.0f, 8388608.0f})
        for (const float integer :
             {1.0f, 2.0f, 3.0f, 4.0f, 100.0f, fullScale / 2, fullScale - 2, fullScale - 1})
            for (const float part : {-0.5f, 0.0f, 0.5f}) {
                const float value = (integer + part) / fullScale;
                floats.insert(floats.end(),
                              {value, std::nextafter(value, 0.0f), std::nextafter(value, 2.0f)});
            }
    for (std::size_t i = 0, count = floats.size(); i < count; ++i) floats.push_back(-floats[i]);
    return floats;
}

/// A quarter each: any bits at all, sound, sound just past full scale, ties of 16 bits.
float randomFloat(std::mt19937& random) {
    const auto bits = static_cast<std::uint32_t>(random());
    const float sound = static_cast<float>(static_cast<std::int32_t>(bits)) / 2147483648.0f;
    switch (bits % 4) {
        case 0:
            return std::bit_cast<float>(bits);
        case 1:
            return sound;
        case 2:
            return sound * 1.01f;
        default:
            return (std::floor(sound * 32768.0f) + 0.5f) / 32768.0f;
    }
}

/// Copies floats without looking at them: a signalling NaN must stay one.
Bytes bytesOf(const std::vector<float>& floats) {
    Bytes bytes(floats.size() * sizeof(float));
    std::memcpy(bytes.data(), floats.data(), bytes.size());
    return bytes;
}

std::string sampleText(const Bytes& bytes, std::size_t width, std::size_t index) {
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(index * width);
    return testing::PrintToString(Bytes(first, first + static_cast<std::ptrdiff_t>(width)));
}

void expectFormula(const Row& row, const Bytes& source) {
    const std::size_t samples = source.size() / row.sourceBytes;
    const Bytes wanted = expected(row, source.data(), samples);
    for (const auto level : platform::availableSimdLevels()) {
        Bytes result(wanted.size());
        run(row, level, source.data(), result.data(), samples);
        if (result == wanted) continue;
        const auto byte = std::ranges::mismatch(result, wanted).in1 - result.begin();
        const std::size_t sample = static_cast<std::size_t>(byte) / row.destinationBytes;
        FAIL() << describe(row, level) << ": " << sampleText(source, row.sourceBytes, sample) << " became "
               << sampleText(result, row.destinationBytes, sample) << ", not "
               << sampleText(wanted, row.destinationBytes, sample);
    }
}

TEST(SampleKernels, GiveTheFormulaForEveryIntegerOnEachLevel) {
    for (std::size_t width = 1; width <= 3; ++width)
        for (std::size_t index = 0;; ++index) {
            const Bytes source = everyInteger(width, index);
            if (source.empty()) break;
            for (const Row& row : kRows)
                if (row.sourceBytes == width) expectFormula(row, source);
            if (HasFatalFailure()) return;
        }
}

TEST(SampleKernels, GiveTheFormulaForFloatsOnEachLevel) {
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::mt19937 random(kSeed);
    std::vector<float> floats = specialFloats();
    for (std::size_t done = 0; done < kRandomFloats; done += kBlock) {
        const Bytes source = bytesOf(floats);
        for (const Row& row : kRows)
            if (row.sourceBytes == 4) expectFormula(row, source);
        if (HasFatalFailure()) return;
        floats.resize(kBlock);
        std::ranges::generate(floats, [&] { return randomFloat(random); });
    }
}

// ---- Lengths and addresses ----

constexpr std::size_t kLengths = 68;  // 0 to 67: some whole steps of every set, and every rest
constexpr std::size_t kOffsets = 16;
constexpr Byte kGuard = 0xA5;

Bytes noise(std::size_t size) {
    std::mt19937 random(kSeed);
    Bytes bytes(size);
    std::ranges::generate(bytes, [&] { return static_cast<Byte>(random()); });
    return bytes;
}

/// `bytes` from `offset` on, between guards.
Bytes guarded(const Bytes& bytes, std::size_t offset) {
    Bytes all(bytes.size() + 2 * kOffsets, kGuard);
    std::ranges::copy(bytes, all.begin() + static_cast<std::ptrdiff_t>(offset));
    return all;
}

/// `bytes` at the very end of its memory, so that the address sanitizer sees a read past it.
Bytes endingAt(const Bytes& bytes, std::size_t offset) {
    Bytes all(offset, kGuard);
    all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

class SampleKernelsOnEachLevel : public testing::TestWithParam<platform::SimdLevel> {};

TEST_P(SampleKernelsOnEachLevel, WriteTheirSamplesAndNothingBesideAtAnyAddress) {
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    for (const Row& row : kRows)
        for (std::size_t length = 0; length < kLengths; ++length) {
            const Bytes samples = noise(length * row.sourceBytes);
            const Bytes wanted = expected(row, samples.data(), length);
            for (std::size_t sourceOffset = 0; sourceOffset < kOffsets; sourceOffset += 3) {
                const Bytes source = endingAt(samples, sourceOffset);
                for (std::size_t offset = 0; offset < kOffsets; ++offset) {
                    Bytes result = guarded(Bytes(wanted.size(), kGuard), offset);
                    run(row, GetParam(), source.data() + sourceOffset, result.data() + offset, length);
                    ASSERT_EQ(result, guarded(wanted, offset))
                        << row.name << ", " << length << " samples, " << sourceOffset << " to " << offset;
                }
            }
        }
}

TEST_P(SampleKernelsOnEachLevel, ReverseInPlace) {
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    for (const Row& row : kRows) {
        if (!std::string(row.name).starts_with("reverse")) continue;
        if (row.sourceBytes != row.destinationBytes) continue;
        for (std::size_t length = 0; length < kLengths; ++length)
            for (std::size_t offset = 0; offset < kOffsets; ++offset) {
                const Bytes samples = noise(length * row.sourceBytes);
                Bytes buffer = guarded(samples, offset);
                run(row, GetParam(), buffer.data() + offset, buffer.data() + offset, length);
                ASSERT_EQ(buffer, guarded(expected(row, samples.data(), length), offset))
                    << row.name << ", " << length << " samples at " << offset;
            }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, SampleKernelsOnEachLevel,
                         testing::ValuesIn(platform::availableSimdLevels().begin(),
                                           platform::availableSimdLevels().end()),
                         [](const auto& level) { return platform::simdLevelName(level.param); });

// ---- The level that runs ----

TEST(SampleKernels, EachLevelHasKernelsOfItsOwn) {
    const SampleKernels& portable = sampleKernels(platform::SimdLevel::portable);
    for (const auto level : platform::availableSimdLevels()) {
        const SampleKernels& kernels = sampleKernels(level);
        EXPECT_EQ(kernels.level, level);
        for (const Row& row : kRows)
            EXPECT_EQ(kernels.*row.kernel == portable.*row.kernel, level == portable.level)
                << describe(row, level);
    }
}

void exitSayingChosenLevel(const std::string& forced) {
    setenv("MARLCORE_SIMD", forced.c_str(), 1);
    std::fprintf(stderr, "kernels=%s\n", platform::simdLevelName(sampleKernels().level));
    std::exit(0);
}

// In a child process each, because a process chooses once.
TEST(SampleKernelsDeathTest, TheForcedLevelIsTheOneThatRuns) {
    GTEST_FLAG_SET(death_test_style, MARL_DEATH_TEST_STYLE);
    for (const auto level : platform::availableSimdLevels()) {
        const std::string name = platform::simdLevelName(level);
        EXPECT_EXIT(exitSayingChosenLevel(name), testing::ExitedWithCode(0), "kernels=" + name);
    }
}

// ---- What a musician would check by hand ----

template <class Result, class Sample>
Result convertOne(SampleKernel SampleKernels::*kernel, Sample sample) {
    Result result{};
    (sampleKernels().*kernel)(&sample, &result, 1);
    return result;
}

TEST(SampleKernels, KnownValues) {
    EXPECT_EQ(convertOne<float>(&Set::unsigned8ToFloat, Byte{0x80}), 0.0f);
    EXPECT_EQ(convertOne<float>(&Set::unsigned8ToFloat, Byte{0x00}), -1.0f);
    EXPECT_EQ(convertOne<std::int16_t>(&Set::unsigned8To16, Byte{0x00}), -32768);
    EXPECT_EQ(convertOne<std::int16_t>(&Set::signed8To16, Byte{0x80}), -32768);
    EXPECT_EQ(convertOne<float>(&Set::int16ToFloat, std::int16_t{-32768}), -1.0f);

    const Byte fullScale24[3] = {Byte{kHighByteFirst ? 0x7F : 0xFF}, 0xFF,
                                 Byte{kHighByteFirst ? 0xFF : 0x7F}};
    float level = 0;
    sampleKernels().int24ToFloat(fullScale24, &level, 1);
    EXPECT_NEAR(level, 0.9655, 0.0001);

    EXPECT_EQ(convertOne<std::int16_t>(&Set::floatTo16, 1.0f), 32767);
    EXPECT_EQ(convertOne<std::int16_t>(&Set::floatTo16, -1.0f), -32768);
    EXPECT_EQ(convertOne<std::int16_t>(&Set::floatTo16, 0.5f / 32768.0f), 0);
    EXPECT_EQ(convertOne<std::int16_t>(&Set::floatTo16, 1.5f / 32768.0f), 2);
    EXPECT_EQ(convertOne<std::int16_t>(&Set::floatTo16, std::numeric_limits<float>::quiet_NaN()), 0);
}

}  // namespace
}  // namespace marl::conversion
