// SPDX-License-Identifier: MIT
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/CMemoryFileData.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include <unistd.h>

using platform::AudioStreamBasicDescription;
using platform::makeHostFormat;
using support::Bytes;
using support::messageThrownBy;
using support::OpenedFile;

namespace {

constexpr int kMost = std::numeric_limits<int>::max();

/// 16-bit samples 0, 1, 2 … in an AIFF file.
OpenedFile countingFile(int channels, int frames, double rate = 44100) {
    Bytes samples;
    for (int i = 0; i < channels * frames; ++i) samples.big16(i);
    return OpenedFile(
        "a.aif", support::aiffFile({.common = support::CommonChunk{.channels = channels, .sampleRate = rate},
                                    .samples = samples}));
}

AudioStreamBasicDescription formatOf(const OpenedFile& opened) {
    AudioStreamBasicDescription format;
    opened.parsed().getFormatInfo(format);
    return format;
}

void convert(const OpenedFile& opened, const AudioStreamBasicDescription& output, int frames = -1,
             long long offset = -1) {
    const AudioStreamBasicDescription format = formatOf(opened);
    opened.data().setSampleConversion(
        format, frames >= 0 ? frames : static_cast<int>(opened.parser().getLengthInFrames()),
        offset >= 0 ? offset : opened.parser().getSampleOffset(), output);
}

template <typename Sample>
std::vector<Sample> allSamples(const OpenedFile& opened) {
    int last = 0;
    const void* const memory = opened.data().readSamples(0, 0, &last, true);
    std::vector<Sample> samples(static_cast<std::size_t>(last + 1));
    if (memory) std::memcpy(samples.data(), memory, samples.size() * sizeof(Sample));
    return samples;
}

}  // namespace

TEST(MemoryFileData, HandsOutSamplesByInterleavedIndex) {
    const OpenedFile opened = countingFile(2, 100);
    convert(opened, makeHostFormat(44100, 2, 16));
    const struct {
        int first, last, outLast;
        int value;  // of the first sample; -1: none
    } rows[] = {{0, 0, 199, 0},         {0, 1, 1, 0},        {5, 9, 9, 5},  {5, 1000, 199, 5},
                {199, kMost, 199, 199}, {200, 201, 200, -1}, {5, 3, 5, -1}, {kMost, kMost, kMost, -1},
                {-1, 5, -1, -1},        {7, 7, 7, 7}};
    for (const auto& row : rows) {
        int outLast = -99;
        const void* const memory = opened.data().readSamples(row.first, row.last, &outLast, false);
        EXPECT_EQ(outLast, row.outLast) << row.first;
        ASSERT_EQ(memory != nullptr, row.value >= 0) << row.first;
        std::int16_t value;
        if (memory) std::memcpy(&value, memory, sizeof value);
        if (memory) {
            EXPECT_EQ(value, row.value);
        }
    }
    EXPECT_TRUE(opened.data().isSampleRangeLoaded(0, kMost));
}

TEST(MemoryFileData, KnowsNoSamplesBeforeAConversionIsSet) {
    const OpenedFile opened = countingFile(1, 4);
    int last;
    EXPECT_EQ(messageThrownBy([&] { opened.data().readSamples(0, 0, &last, true); }),
              "Error: m_sampleBuffer is null!");
    EXPECT_FALSE(opened.data().getSampleConversion(nullptr, nullptr, nullptr, nullptr));
}

TEST(MemoryFileData, ReportsTheConversionThatIsSet) {
    const OpenedFile opened = countingFile(2, 441);
    convert(opened, makeHostFormat(48000, 2, 32));
    AudioStreamBasicDescription from, to;
    int frames = 0;
    long long offset = 0;
    ASSERT_TRUE(opened.data().getSampleConversion(&from, &frames, &offset, &to));
    EXPECT_EQ(from.mSampleRate, 44100);
    EXPECT_EQ(to.mSampleRate, 48000);
    EXPECT_EQ(to.mBitsPerChannel, 32u);
    EXPECT_EQ(frames, 480) << "converted frames";
    EXPECT_EQ(offset, 54);
    EXPECT_EQ(allSamples<float>(opened).size(), 960u);
    EXPECT_TRUE(opened.data().getSampleConversion(nullptr, nullptr, nullptr, nullptr));
}

TEST(MemoryFileData, ReadsTheFileOnceForTheSameConversion) {
    const OpenedFile opened = countingFile(1, 100);
    for (const double rate : {44100.0, 48000.0}) {
        convert(opened, makeHostFormat(rate, 1, 16));
        int last;
        const void* const memory = opened.data().readSamples(0, 0, &last, true);
        convert(opened, makeHostFormat(rate, 1, 16));
        EXPECT_EQ(opened.data().readSamples(0, 0, &last, true), memory);
        convert(opened, makeHostFormat(rate, 1, 16), 50);
        opened.data().readSamples(0, 0, &last, true);
        EXPECT_LT(last, 99) << "another count is another conversion";
    }
}

TEST(MemoryFileData, ConvertsEveryPairOfWidthsAndNoOther) {
    for (const int from : {8, 16, 24, 32, 40, 192}) {
        for (const int to : {8, 16, 24, 32, 96, 112}) {
            const OpenedFile opened("a.aif", Bytes().zeros(1000));
            auto format = makeHostFormat(44100, 1, static_cast<std::uint32_t>(from));
            const auto set = [&](std::uint32_t channels) {
                return messageThrownBy([&] {
                    opened.data().setSampleConversion(
                        format, 10, 0, makeHostFormat(44100, channels, static_cast<std::uint32_t>(to)));
                });
            };
            const int pair = from / 8 * 100 + to / 8;
            const bool supported = pair == 102 || pair == 104 || pair == 202 || pair == 204 || pair == 302 ||
                                   pair == 303 || pair == 304 || pair == 404;
            const std::string refusal = "this is not a supported conversion (" + std::to_string(from / 8) +
                                        " to " + std::to_string(to / 8) + ")";
            EXPECT_EQ(set(1), supported ? "" : refusal);
            EXPECT_EQ(set(2), supported ? "" : refusal) << "mono to stereo goes with every pair";
            if (supported) {
                EXPECT_EQ(set(3), "Unsupported channel conversion. Source 1 channels, dest 3 channels.");
            }
        }
    }
}

TEST(MemoryFileData, DoublesAMonoFile) {
    const OpenedFile opened = countingFile(1, 5000);  // longer than a block of the doubling
    convert(opened, makeHostFormat(44100, 2, 32));
    const auto samples = allSamples<float>(opened);
    ASSERT_EQ(samples.size(), 10000u);
    for (std::size_t i = 0; i < samples.size(); ++i) ASSERT_EQ(samples[i], static_cast<float>(i / 2) / 32768);
}

TEST(MemoryFileData, ConvertsBlockByBlockWithoutASeam) {
    // 24 bits do not divide the block size: a sample would be torn at each joint.
    Bytes file;
    constexpr int kCount = 50000;
    for (int i = 0; i < kCount; ++i) file.byte(i >> 16 & 0xFF).big16(i & 0xFFFF);
    const OpenedFile opened("a.aif", file);
    auto format = makeHostFormat(44100, 1, 24);
    opened.data().setSampleConversion(format, kCount, 0, makeHostFormat(44100, 1, 16));
    const auto samples = allSamples<std::int16_t>(opened);
    for (int i = 0; i < kCount; ++i) ASSERT_EQ(samples[static_cast<std::size_t>(i)], i >> 8) << i;
}

TEST(MemoryFileData, DeliversSilenceForWhatTheFileDoesNotHold) {
    for (const std::uint32_t bits : {16u, 24u, 32u}) {
        const OpenedFile opened = countingFile(1, 1000);
        formatOf(opened);
        ASSERT_EQ(::truncate(opened.path().c_str(), 54 + 2 * 500 + 1), 0);  // half a sample stays behind
        auto output = makeHostFormat(44100, 1, bits);
        if (bits == 24) continue;
        convert(opened, output, 2000);
        int last;
        const auto* const memory = static_cast<const char*>(opened.data().readSamples(0, 0, &last, true));
        ASSERT_EQ(last, 1999);
        for (std::size_t i = 500 * bits / 8; i < 2000 * bits / 8; ++i) ASSERT_EQ(memory[i], 0) << i;
        EXPECT_NE(std::string(memory + 499 * bits / 8, bits / 8), std::string(bits / 8, '\0'));
    }
}

TEST(MemoryFileData, RefusesWhatCannotBeAndKeepsWhatIsSet) {
    const OpenedFile opened = countingFile(1, 10);
    const auto good = makeHostFormat(44100, 1, 16);
    convert(opened, good);
    const auto with = [&](auto change) {
        auto format = makeHostFormat(44100, 1, 16);
        change(format);
        return format;
    };
    const auto noChannels = with([](auto& f) { f.mChannelsPerFrame = 0; });
    const auto noRate = with([](auto& f) { f.mSampleRate = 0; });
    const auto nanRate = with([](auto& f) { f.mSampleRate = std::nan(""); });
    const auto noBits = with([](auto& f) { f.mBitsPerChannel = 0; });
    const auto oddBits = with([](auto& f) { f.mBitsPerChannel = 12; });
    const auto channels = with([](auto& f) { f.mChannelsPerFrame = 0xFFFFFFFF; });
    const struct {
        AudioStreamBasicDescription from, to;
        int frames;
        long long offset;
    } rows[] = {{noChannels, good, 10, 54},
                {good, noChannels, 10, 54},
                {noRate, good, 10, 54},
                {nanRate, good, 10, 54},
                {good, noRate, 10, 54},
                {noBits, good, 10, 54},
                {oddBits, good, 10, 54},
                {good, oddBits, 10, 54},
                {good, good, -1, 54},
                {good, good, 10, -1},
                {channels, channels, 10, 54},
                {good, makeHostFormat(44100, 2, 16), kMost, 54},
                {good, makeHostFormat(1e9, 1, 16), 10, 54}};
    for (const auto& row : rows) {
        EXPECT_NE(messageThrownBy(
                      [&] { opened.data().setSampleConversion(row.from, row.frames, row.offset, row.to); }),
                  "");
        EXPECT_EQ(allSamples<std::int16_t>(opened).size(), 10u);
    }
}

TEST(MemoryFileData, ConvertsRatesAfterWidthsAndChannels) {
    const OpenedFile opened = countingFile(1, 441);
    for (const std::uint32_t bits : {16u, 32u}) {
        convert(opened, makeHostFormat(88200, 2, bits));
        int frames = 0;
        opened.data().getSampleConversion(nullptr, &frames, nullptr, nullptr);
        EXPECT_EQ(frames, 882);
    }
    const auto samples = allSamples<float>(opened);
    for (std::size_t i = 400; i < 1200; i += 2) {
        ASSERT_EQ(samples[i], samples[i + 1]);
        ASSERT_NEAR(samples[i], static_cast<double>(i) / 4 / 32768, 1e-4) << "a ramp stays a ramp";
    }
}
