// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PolyphaseResampler.h>

#include <MarlCore/platform/LowPassKernel.h>

#include "platform/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <numeric>

namespace platform {
namespace {

using namespace testing_signals;

constexpr double kRatios[][2] = {{44100, 48000}, {48000, 44100}, {96000, 44100}, {44100, 22050},
                                 {22050, 44100}, {44101, 48000}, {22255, 48000}, {48000, 1001}};

PolyphaseResampler makeResampler(double from, double to, SimdLevel level = simdLevel()) {
    return PolyphaseResampler(PolyphaseFilter::shared(*RateRatio::fromRates(from, to)), level);
}

// A stretch of output from a window that holds just what `inputRange` names, with silence around the input.
std::vector<float> resample(const PolyphaseResampler& resampler, std::span<const float> input,
                            std::int64_t first, std::int64_t count) {
    const auto range = resampler.inputRange(first, count);
    std::vector<float> window(static_cast<std::size_t>(range.last - range.first + 1));
    for (std::size_t i = 0; i < window.size(); ++i) {
        const std::int64_t frame = range.first + static_cast<std::int64_t>(i);
        if (frame >= 0 && frame < std::ssize(input)) window[i] = input[static_cast<std::size_t>(frame)];
    }
    EXPECT_LE(std::ssize(window), resampler.maxInputFrames(count));
    std::vector<float> output(static_cast<std::size_t>(count + 2), 77.0f);
    const float* inputs[] = {window.data()};
    float* outputs[] = {output.data() + 1};
    resampler.process(first, count, inputs, range.first, outputs);
    EXPECT_TRUE(output.front() == 77.0f && output.back() == 77.0f);
    return {output.begin() + 1, output.end() - 1};
}

TEST(PolyphaseResampler, StretchesInAnyOrderEqualTheWholeBitForBit) {
    for (const auto& [from, to] : kRatios) {
        for (const SimdLevel level : availableSimdLevels()) {
            SCOPED_TRACE(::testing::Message() << from << " to " << to << ", " << simdLevelName(level));
            const auto resampler = makeResampler(from, to, level);
            const auto input = noise(5000, 21);
            const auto total = static_cast<std::int64_t>(5000 * to / from);
            const auto whole = resample(resampler, input, 0, total);
            std::minstd_rand random(22);
            for (int i = 0; i < 60; ++i) {
                const auto first = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(total));
                const auto most = std::min<std::int64_t>(total - first, i < 30 ? 9 : 2000);
                const auto count = 1 + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(most));
                const auto begin = whole.begin() + static_cast<std::ptrdiff_t>(first);
                ASSERT_EQ(resample(resampler, input, first, count),
                          std::vector<float>(begin, begin + static_cast<std::ptrdiff_t>(count)))
                    << count << " frames from " << first;
            }
        }
    }
}

TEST(PolyphaseResampler, LevelsAgreeToWithinRounding) {
    for (const auto& [from, to] : kRatios) {
        const auto input = noise(5000, 31);
        const auto total = static_cast<std::int64_t>(5000 * to / from);
        const auto portable = resample(makeResampler(from, to, SimdLevel::portable), input, 0, total);
        for (const SimdLevel level : availableSimdLevels()) {
            const auto output = resample(makeResampler(from, to, level), input, 0, total);
            for (std::size_t n = 0; n < output.size(); ++n) ASSERT_NEAR(output[n], portable[n], 1e-6) << n;
        }
    }
}

// The definition of the conversion, in double.
double expectedAt(std::span<const float> input, double from, double to, double outputFrame) {
    const double time = outputFrame * from / to, scale = std::min(1.0, to / from);
    std::vector<double> distances(input.size());
    for (std::size_t i = 0; i < input.size(); ++i) distances[i] = (static_cast<double>(i) - time) * scale;
    LowPassKernel::shared().evaluate(distances, distances);
    return scale * std::inner_product(input.begin(), input.end(), distances.begin(), 0.0);
}

TEST(PolyphaseResampler, EqualsTheSumThatDefinesIt) {
    for (const auto& [from, to] : kRatios) {
        const auto input = noise(2000, 41);
        const auto total = static_cast<std::int64_t>(2000 * to / from);
        const auto output = resample(makeResampler(from, to), input, 0, total);
        for (std::size_t n = 0; n < output.size(); n += 1 + n % 37) {
            ASSERT_NEAR(output[n], expectedAt(input, from, to, static_cast<double>(n)), 1e-6)
                << from << " to " << to << ", frame " << n;
        }
    }
}

// Whole periods after frame 0 the rows are the same, so the same input gives the same output, however far
// out.
TEST(PolyphaseResampler, KeepsItsPositionOverHours) {
    for (const auto& [from, to] : kRatios) {
        const auto resampler = makeResampler(from, to);
        const RateRatio ratio = resampler.filter().ratio();
        const std::int64_t periods =
            (std::int64_t{1} << 46) / std::max(ratio.inputFrames, ratio.outputFrames);
        const auto near = resampler.inputRange(1000, 500);
        const auto far = resampler.inputRange(1000 + 2 * periods * ratio.outputFrames, 500);
        EXPECT_EQ(far.first - near.first, 2 * periods * ratio.inputFrames);
        EXPECT_EQ(far.last - near.last, 2 * periods * ratio.inputFrames);
        const auto window = noise(static_cast<std::size_t>(near.last - near.first + 1), 51);
        const float* inputs[] = {window.data()};
        std::vector<float> nearOutput(500), farOutput(500);
        float* nearOutputs[] = {nearOutput.data()};
        float* farOutputs[] = {farOutput.data()};
        resampler.process(1000, 500, inputs, near.first, nearOutputs);
        resampler.process(1000 + 2 * periods * ratio.outputFrames, 500, inputs, far.first, farOutputs);
        EXPECT_EQ(nearOutput, farOutput);
    }
}

TEST(PolyphaseFilter, IsSharedAndBounded) {
    const auto filter = PolyphaseFilter::shared({147, 160});
    EXPECT_EQ(PolyphaseFilter::shared({147, 160}), filter);
    for (std::uint32_t i = 0; i < PolyphaseFilter::kRemembered; ++i)
        PolyphaseFilter::shared({100 + 2 * i, 101});
    EXPECT_EQ(filter.use_count(), 1);
}

TEST(PolyphaseFilter, IsSharedBetweenThreads) {
    const auto input = noise(600, 61);
    const auto convertAll = [&] {
        std::vector<std::vector<float>> outputs;
        for (const auto& [from, to] : kRatios)
            outputs.push_back(resample(makeResampler(from, to), input, 0, 100));
        return outputs;
    };
    std::vector<std::future<std::vector<std::vector<float>>>> threads;
    for (int i = 0; i < 4; ++i) threads.push_back(std::async(std::launch::async, convertAll));
    const auto expected = convertAll();
    for (auto& thread : threads) EXPECT_EQ(thread.get(), expected);
}

TEST(RateRatio, IsExactForWholeHertzAndCloseOtherwise) {
    const struct {
        double from, to;
        std::uint32_t inputs, outputs;
    } kCases[] = {{44100, 48000, 147, 160}, {48000, 44100, 160, 147},
                  {44100, 44100, 1, 1},     {22255, 48000, 4451, 9600},
                  {1, 256, 1, 256},         {256, 1, 256, 1},
                  {0.5, 0.75, 2, 3},        {44100.5, 48000, 88201, 96000}};
    for (const auto& [from, to, inputs, outputs] : kCases) {
        const auto ratio = RateRatio::fromRates(from, to);
        ASSERT_TRUE(ratio);
        EXPECT_EQ(*ratio, (RateRatio{inputs, outputs})) << from << " to " << to;
    }
    const double kOdd[][2] = {{22254.545454545456, 44100},
                              {44100 * 1.0000001, 44100},
                              {48000 / 1.001, 44100 * 1.0595},
                              {std::numbers::pi, 1},
                              {1e-300, 1.234567891e-300}};
    for (const auto& [from, to] : kOdd) {
        const auto ratio = RateRatio::fromRates(from, to);
        ASSERT_TRUE(ratio);
        EXPECT_LE(std::max(ratio->inputFrames, ratio->outputFrames), RateRatio::kLimit);
        EXPECT_NEAR(double(ratio->inputFrames) / ratio->outputFrames / (from / to), 1, 1e-12)
            << from << " to " << to;
    }
    for (const double to : {44100.000001, 44100 * 255.99999999}) {  // close to a simple fraction, but not it
        const auto ratio = RateRatio::fromRates(44100, to);
        ASSERT_TRUE(ratio);
        EXPECT_NEAR(double(ratio->inputFrames) / ratio->outputFrames / (44100 / to), 1, 0x1p-30) << to;
    }
}

}  // namespace
}  // namespace platform
