// SPDX-License-Identifier: MIT
// Every set of kernels against a scan of single samples, and so against each other, bit for bit.
#include <MarlCore/MediaManager/PeakKernels.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace marl::peaks {
namespace {

using platform::SimdLevel;

constexpr std::size_t kMostFrames = 300;

/// What a sample stands for; NaN for nothing.
float valueOf(std::int16_t sample) {
    return static_cast<float>(sample) / 32768;
}
float valueOf(float sample) {
    return sample == 0 ? 0.0f : sample;
}

/// Compares as bytes: a negative zero is another one.
bool isSame(const std::vector<Peak>& a, const std::vector<Peak>& b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(Peak)) == 0;
}

template <typename Sample>
void compareWithScan(PeakKernel PeakKernels::*kernel, std::size_t channels,
                     const std::vector<Sample>& samples) {
    for (const SimdLevel level : platform::availableSimdLevels()) {
        ASSERT_EQ(peakKernels(level).level, level);
        for (std::size_t frames = 0; frames <= kMostFrames; frames += frames < 140 ? 1 : 13) {
            for (std::size_t offset = 0; offset < 5; ++offset) {
                std::vector<Peak> expected(channels, Peak{-1, 1}), found = expected;
                const Sample* const first = samples.data() + offset;
                for (std::size_t i = 0; i < frames * channels; ++i) {
                    Peak& peak = expected[i % channels];
                    const float value = valueOf(first[i]);
                    if (value > peak.maximum) peak.maximum = value;
                    if (value < peak.minimum) peak.minimum = value;
                }
                (peakKernels(level).*kernel)(first, frames, found.data());
                ASSERT_TRUE(isSame(found, expected))
                    << platform::simdLevelName(level) << ", " << channels << " channels, " << frames
                    << " frames from sample " << offset;
            }
        }
    }
}

TEST(PeakKernels, FindTheExtremesOfIntegers) {
    std::minstd_rand random(5);
    std::uniform_int_distribution<int> any(-32768, 32767);
    for (int repetition = 0; repetition < 5; ++repetition) {
        std::vector<std::int16_t> samples(2 * kMostFrames + 8);
        for (auto& sample : samples) sample = static_cast<std::int16_t>(any(random));
        compareWithScan(&PeakKernels::mono16, 1, samples);
        compareWithScan(&PeakKernels::stereo16, 2, samples);
    }
}

// Random picks of the values that are compared unlike others, and of ordinary ones.
TEST(PeakKernels, FindTheExtremesOfFloatsWhateverTheyAre) {
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::vector<float> kSets[] = {{0.25f, -0.5f, 0.75f, 1.5f, -2, 1e-40f},
                                        {0.0f, -0.0f},
                                        {kNaN, -kNaN},
                                        {kNaN, 0.5f, -0.0f, -0.25f},
                                        {kNaN, kInfinity, -kInfinity, 0.0f},
                                        {-0.5f, -0.25f, kNaN}};
    std::minstd_rand random(6);
    for (const std::vector<float>& values : kSets) {
        std::uniform_int_distribution<std::size_t> any(0, values.size() - 1);
        std::vector<float> samples(2 * kMostFrames + 8);
        for (float& sample : samples) sample = values[any(random)];
        compareWithScan(&PeakKernels::monoFloat, 1, samples);
        compareWithScan(&PeakKernels::stereoFloat, 2, samples);
    }
}

TEST(PeakKernels, AreThoseOfTheLevelInUse) {
    EXPECT_EQ(peakKernels().level, platform::simdLevel());
}

}  // namespace
}  // namespace marl::peaks
