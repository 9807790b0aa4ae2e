// SPDX-License-Identifier: MIT
// The conversion of whole buffers over the platform's converter, whose own quality is tested beside it.
#include "support/OpenedFile.h"

#include <MarlCore/Files/streaming/CSharedOffline.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using halyard::CBuffer;
using marl::CBufferRef;
using platform::makeHostFormat;
using support::messageThrownBy;

namespace {

marl::IFileDataRef anyData() {
    return marl::IFileDataRef(new marl::COfflineFileData(true));
}

CBufferRef sine(std::size_t frames, double cyclesPerFrame) {
    const CBufferRef buffer(new CBuffer(frames * sizeof(float), false));
    auto* const samples = reinterpret_cast<float*>(buffer->getPtr());
    for (std::size_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>(
            0.5 * std::sin(2 * std::numbers::pi * cyclesPerFrame * static_cast<double>(i)));
    return buffer;
}

}  // namespace

TEST(RateConversion, ReturnsTheSourceWhenTheRatesAreEqual) {
    const CBufferRef source = sine(10, 0.1);
    EXPECT_EQ(
        anyData()->convertSampleRates(source, 40, makeHostFormat(44100, 1, 32), makeHostFormat(44100, 1, 32)),
        source);
}

TEST(RateConversion, CountsOutputFrames) {
    const struct {
        long long frames;
        double from, to;
        int expected;
    } rows[] = {{4410, 44100, 48000, 4800},
                {4800, 48000, 44100, 4410},
                {1, 44100, 48000, 1},
                {1, 96000, 44100, 0},
                {0, 44100, 48000, 0},
                {3, 44100, 22050, 2},
                {44100, 44100, 22254.545, 22255},
                {16777217, 44100, 88200, 33554432}};  // the count passes through single precision
    for (const auto& row : rows) {
        EXPECT_EQ(marl::IFileData::convertedFrameCount(row.frames, row.from, row.to), row.expected)
            << row.frames;
        if (row.frames > 10000) continue;
        const auto frames = static_cast<std::size_t>(row.frames);
        const CBufferRef converted =
            anyData()->convertSampleRates(sine(frames, 0.01), row.frames * 4, makeHostFormat(row.from, 1, 32),
                                          makeHostFormat(row.to, 1, 32));
        EXPECT_EQ(converted->getSize(), static_cast<std::size_t>(row.expected) * 4);
    }
    for (const double rate : {1e300, std::numeric_limits<double>::infinity(), std::nan("")})
        EXPECT_NE(messageThrownBy([&] { marl::IFileData::convertedFrameCount(1000, 1, rate); }), "");
}

TEST(RateConversion, KeepsAToneWhereItIs) {
    constexpr std::size_t kFrames = 44100;
    const CBufferRef converted =
        anyData()->convertSampleRates(sine(kFrames, 1000.0 / 44100), kFrames * 4,
                                      makeHostFormat(44100, 1, 32), makeHostFormat(48000, 1, 32));
    const CBufferRef expected = sine(48000, 1000.0 / 48000);
    const auto* const a = reinterpret_cast<const float*>(converted->getPtr());
    const auto* const b = reinterpret_cast<const float*>(expected->getPtr());
    constexpr double kHundredthOfADecibel = 0.5 * 1.15e-3;  // of the tone's amplitude
    for (std::size_t i = 1000; i < 47000; ++i) ASSERT_NEAR(a[i], b[i], kHundredthOfADecibel) << "frame " << i;
}

TEST(RateConversion, IgnoresATrailingPartOfAFrameAndBytesThatAreNotThere) {
    const auto from = makeHostFormat(44100, 1, 32), to = makeHostFormat(88200, 1, 32);
    EXPECT_EQ(anyData()->convertSampleRates(sine(10, 0.1), 39, from, to)->getSize(), 9u * 2 * 4);
    EXPECT_EQ(anyData()->convertSampleRates(sine(10, 0.1), 1000000, from, to)->getSize(), 10u * 2 * 4);
    EXPECT_EQ(anyData()->convertSampleRates(sine(10, 0.1), -1, from, to)->getSize(), 0u);
}

TEST(RateConversion, RefusesWhatTheConverterCannotDo) {
    const auto refusal = [](platform::AudioStreamBasicDescription from,
                            platform::AudioStreamBasicDescription to) {
        return messageThrownBy([&] { anyData()->convertSampleRates(sine(10, 0.1), 40, from, to); });
    };
    const std::string message = "IFileData::convertSampleRates: could not create audio converter.";
    EXPECT_EQ(refusal(makeHostFormat(44100, 1, 32), makeHostFormat(48000, 2, 32)), message);
    EXPECT_EQ(refusal(makeHostFormat(44100, 0, 32), makeHostFormat(48000, 0, 32)), message);
    EXPECT_EQ(refusal(makeHostFormat(44100, 1, 32), makeHostFormat(48000, 1, 16)), message);
    EXPECT_EQ(refusal(makeHostFormat(1, 1, 32), makeHostFormat(48000, 1, 32)), message);
    EXPECT_EQ(refusal(makeHostFormat(-44100, 1, 32), makeHostFormat(48000, 1, 32)), message);
}

TEST(RateConversion, FeedsTheConverterOnlyWhileItRuns) {
    std::uint32_t bytes = 100;
    void* data = nullptr;
    const marl::IFileDataRef owner = anyData();
    EXPECT_EQ(marl::IFileData::SRConversionFillHelper(nullptr, &bytes, &data, nullptr), -50);
    EXPECT_EQ(marl::IFileData::SRConversionFillHelper(nullptr, &bytes, &data, owner.get()), -50);
}
