// SPDX-License-Identifier: MIT
#include "StreamedFiles.h"
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <gtest/gtest.h>

using support::PoolOf;
using support::RawFile;
using support::readStreamed;
using support::StreamCase;

namespace {

/// Streams in order and in random order beside the conversion of the whole file. The streamed count is
/// rounded down, so the whole one may have a frame more.
void expectSameAsInMemory(const StreamCase& row) {
    const RawFile file(row);
    const std::string whole = file.wholeConversion();
    for (const std::uint32_t order : {0u, 5u}) {
        const auto data = file.streamed();
        const std::string streamed = readStreamed(*data, row, order);
        const std::size_t frame = row.outputWidth() * static_cast<std::size_t>(row.outputChannels);
        ASSERT_LE(whole.size() - streamed.size(), frame) << row.name();
        ASSERT_TRUE(streamed == whole.substr(0, streamed.size())) << row.name() << ", order " << order;
    }
}

}  // namespace

TEST(StreamedRates, EqualTheConversionInMemoryAtEveryRate) {
    const PoolOf pool(3);
    // The last ones: phases that are interpolated, and the most that one rate can be of the other.
    const std::pair<double, double> rates[] = {
        {44100, 48000},  {48000, 44100}, {96000, 44100},   {22050, 48000}, {44100, 88200},
        {192000, 44100}, {22255, 48000}, {44100, 44099.9}, {256000, 1000}, {1000, 256000}};
    for (const auto& [from, to] : rates) {
        for (const int outputBits : {16, 24, 32}) {
            for (const auto& [channels, outputChannels] : {std::pair{1, 2}, {2, 2}, {3, 3}}) {
                const int frames = static_cast<int>(20000 * std::min(from, 16 * to) / std::max(from, to));
                expectSameAsInMemory({outputBits == 32 ? 32 : 24, outputBits, channels, outputChannels, from,
                                      to, frames + 1, outputBits == 16});
            }
        }
    }
}

TEST(StreamedRates, EqualTheConversionInMemoryForEveryWidthAndLength) {
    const PoolOf pool(3);
    const std::pair<int, int> widths[] = {{8, 16},  {8, 32},  {16, 16}, {16, 32},
                                          {24, 16}, {24, 24}, {24, 32}, {32, 32}};
    for (const auto& [from, to] : widths) {
        for (const int frames : {0, 1, 2, 63, 4096, 30000})
            expectSameAsInMemory({from, to, 1, 2, 44100, 48000, frames, from % 16 == 0});
    }
}

TEST(StreamedRates, HaveNoSeamInAMinute) {
    expectSameAsInMemory({24, 32, 2, 2, 48000, 44100, 48000 * 60, true});
}

TEST(StreamedRates, RefuseWhatIsNotConverted) {
    const RawFile file({});
    const auto data = file.streamed();
    const StreamCase tooFar{.outputRate = 44100 * 257.0},
        bytes{.fileBits = 8, .outputBits = 8, .outputRate = 48000};
    for (const auto& row : {tooFar, bytes}) {
        EXPECT_EQ(support::messageThrownBy([&] {
                      data->setSampleConversion(row.fileFormat(), 1000, RawFile::kOffset, row.outputFormat());
                  }),
                  "IFileData::convertSampleRates: could not create audio converter.");
    }
    EXPECT_TRUE(readStreamed(*data, {}, 0) == file.wholeConversion()) << "the conversion set before stays";
}

TEST(StreamedRates, GoWithFilesThatAreSwitchedOver) {
    support::Bytes samples;
    for (int i = 0; i < 60000; ++i) samples.byte(i * 7 % 251);
    for (const char* const name : {"a.aif", "a.wav"}) {
        const bool isAIFF = name[2] == 'a';
        const support::OpenedFile opened(
            name, isAIFF
                      ? support::aiffFile({.common = support::CommonChunk{.channels = 1, .bitsPerChannel = 8},
                                           .samples = samples})
                      : support::wavFile({.format = support::WAVFormat{.channels = 1, .bitsPerChannel = 8},
                                          .samples = samples}));
        platform::AudioStreamBasicDescription format;
        opened.parsed().getFormatInfo(format);
        const StreamCase row{.fileBits = 8, .outputBits = 16, .channels = 1, .outputRate = 48000};
        const auto set = [&] {
            opened.data().setSampleConversion(format, 60000, opened.parser().getSampleOffset(),
                                              row.outputFormat());
        };
        set();
        int last;
        const auto* const whole = static_cast<const char*>(opened.data().readSamples(0, 0, &last, true));
        const std::string expected(whole, static_cast<std::size_t>(last + 1) * 2);
        opened.file().useDiskFileData(support::urlOf(opened.path()), false);
        ASSERT_NE(dynamic_cast<marl::CDiskFileData*>(&opened.data()), nullptr);
        EXPECT_FALSE(opened.data().getSampleConversion(nullptr, nullptr, nullptr, nullptr));
        set();
        const std::string streamed = readStreamed(opened.data(), row, 1);
        EXPECT_TRUE(streamed == expected.substr(0, streamed.size())) << name;
        EXPECT_TRUE(opened.parser().verifyFile()) << "which reads through the same file data";
        EXPECT_EQ(support::messageThrownBy(
                      [&] { opened.file().useDiskFileData(support::urlOf("/nowhere"), false); }),
                  "failed to open file '/nowhere'");
        EXPECT_FALSE(readStreamed(opened.data(), row, 0).empty()) << "everything stays as it is";
    }
}
