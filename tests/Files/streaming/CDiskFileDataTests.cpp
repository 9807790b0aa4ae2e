// SPDX-License-Identifier: MIT
#include "StreamedFiles.h"
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include <unistd.h>

using marl::CDiskFileData;
using support::Bytes;
using support::messageThrownBy;
using support::OpenedFile;
using support::PoolOf;
using support::RawFile;
using support::readStreamed;
using support::StreamCase;

namespace {

constexpr int kMost = std::numeric_limits<int>::max();

struct Read {
    const std::byte* samples;
    int last;
};

Read read(marl::IFileData& data, int first, int last, bool load) {
    int outLast = -99;
    const void* const samples = data.readSamples(first, last, &outLast, load);
    return {static_cast<const std::byte*>(samples), outLast};
}

bool isSilent(const std::byte* samples, std::size_t count) {
    return std::all_of(samples, samples + count, [](std::byte byte) { return byte == std::byte{0}; });
}

}  // namespace

TEST(DiskFileData, HandsOutOneSliceAtATime) {
    const StreamCase stereo{.outputBits = 16, .frames = 20000};  // 40000 samples: slices of 16384
    const RawFile file(stereo);
    const auto data = file.streamed();
    const std::string whole = file.wholeConversion();
    const struct {
        int first, last, outLast;
    } rows[] = {{0, 0, 16383},
                {0, 1, 1},
                {5, 9, 9},
                {16383, 16384, 16383},
                {16384, kMost, 32767},
                {32768, 40000, 39999},
                {39999, kMost, 39999},
                {100, 40000, 16383}};
    for (const bool load : {true, false}) {
        for (const auto& row : rows) {
            const auto [samples, last] = read(*data, row.first, row.last, load);
            EXPECT_EQ(last, row.outLast) << row.first;
            ASSERT_NE(samples, nullptr) << row.first;
            const auto count = static_cast<std::size_t>(last - row.first + 1);
            EXPECT_EQ(std::memcmp(samples, whole.data() + row.first * 2, count * 2), 0) << row.first;
        }
    }
}

TEST(DiskFileData, AnswersOddRangesWithoutReading) {
    const RawFile file({.outputBits = 16, .frames = 20000});
    const auto data = file.streamed();
    for (const bool load : {true, false}) {
        for (const int first : {-1, -kMost, 7}) {
            EXPECT_EQ(read(*data, first, 5, load).samples, nullptr);
            EXPECT_EQ(read(*data, first, 5, load).last, first);
        }
        const std::pair<int, int> ends[] = {{40000, 56383}, {50000, 66383}, {kMost, kMost}};
        for (const auto& [first, last] : ends) {
            const auto silence = read(*data, first, first, load);
            EXPECT_EQ(silence.last, last);
            EXPECT_TRUE(isSilent(silence.samples, 32768)) << "a slice's worth of silence";
        }
    }
    EXPECT_EQ(read(*data, 20000, 20001, false).samples, nullptr);
    EXPECT_EQ(read(*data, 20000, 20001, false).last, 20000);
    EXPECT_FALSE(data->isSampleRangeLoaded(0, 0));
    for (const auto& [first, last] : {std::pair{40000, 50000}, {16384, 3}, {-9, -1}})
        EXPECT_TRUE(data->isSampleRangeLoaded(first, last)) << "no slice lies in it";
    EXPECT_EQ(messageThrownBy([&] { data->readSamples(0, 0, nullptr, true); }), "Error: outLast is null!");
}

TEST(DiskFileData, LoadsTheRangeAheadAndKeepsWhatItChecks) {
    const PoolOf pool(4);
    const RawFile file({.outputBits = 16, .frames = 16384 * 5});  // ten slices
    const auto data = file.streamed();
    const int slice = 16384;
    read(*data, 5, 3 * slice - 1, true);
    EXPECT_TRUE(data->isSampleRangeLoaded(0, 3 * slice - 1));
    EXPECT_FALSE(data->isSampleRangeLoaded(0, 3 * slice));
    read(*data, 3 * slice, 3 * slice, true);
    EXPECT_FALSE(data->isSampleRangeLoaded(0, kMost)) << "and yet all loaded ones are used now, in order";
    read(*data, 0, 1, false);
    read(*data, 9 * slice, 9 * slice, true);  // takes the place of the second
    EXPECT_TRUE(data->isSampleRangeLoaded(0, 0));
    EXPECT_FALSE(data->isSampleRangeLoaded(slice, slice));
    EXPECT_TRUE(data->isSampleRangeLoaded(2 * slice, 4 * slice - 1));
    const auto whole = read(*data, 0, 0, true);
    EXPECT_EQ(whole.last, slice - 1) << "a stream that is longer than the pool does not drive itself out";
    EXPECT_TRUE(data->isSampleRangeLoaded(0, 4 * slice - 1));
}

TEST(DiskFileData, GivesItsBuffersBack) {
    const PoolOf pool(3);
    const RawFile file({.outputBits = 16, .frames = 30000});
    auto data = file.streamed();
    const StreamCase other{.outputBits = 32, .frames = 30000};
    readStreamed(*data, {.outputBits = 16}, 0);
    data->setSampleConversion(other.fileFormat(), other.frames, RawFile::kOffset, other.outputFormat());
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(PoolOf::entry(i).getOwningFileData(), nullptr);
    read(*data, 0, 0, true);
    data = nullptr;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(PoolOf::entry(i).CountReferences(), 1);
}

TEST(DiskFileData, EqualsTheConversionInMemory) {
    const PoolOf pool(5);
    const std::pair<int, int> widths[] = {{8, 16},  {8, 32},  {16, 16}, {16, 32},
                                          {24, 16}, {24, 24}, {24, 32}, {32, 32}};
    for (const auto& [from, to] : widths) {
        for (const auto& [channels, outputChannels] : {std::pair{1, 1}, {2, 2}, {1, 2}, {3, 3}}) {
            for (const int frames : {0, 1, 100, 5461, 8192, 10922, 10923, 16384, 21845, 70001}) {
                const StreamCase row{from,  to,    channels, outputChannels,
                                     44100, 44100, frames,   (frames + from) % 2 == 0};
                const RawFile file(row);
                const auto data = file.streamed();
                ASSERT_TRUE(readStreamed(*data, row, 0) == file.wholeConversion()) << row.name();
                ASSERT_TRUE(readStreamed(*data, row, 7) == file.wholeConversion()) << row.name();
            }
        }
    }
}

TEST(DiskFileData, PassesBytesOn) {
    for (const bool isSigned : {true, false}) {
        for (const int outputChannels : {1, 2}) {
            const StreamCase bytes{.fileBits = 8,
                                   .outputBits = 8,
                                   .channels = 1,
                                   .outputChannels = outputChannels,
                                   .frames = 40000};
            const RawFile file(bytes);
            const auto data = file.streamed();
            data->setSamplesAreSigned(isSigned);
            std::string expected;
            for (const char byte : file.samples())
                expected.append(static_cast<std::size_t>(outputChannels), byte);
            EXPECT_TRUE(readStreamed(*data, bytes, 1) == expected);
            const auto silence = read(*data, kMost - 1, kMost, true);
            EXPECT_EQ(std::to_integer<int>(*silence.samples), isSigned ? 0 : 128);
        }
    }
}

TEST(DiskFileData, DeliversSilenceForWhatTheFileDoesNotHoldAnyMore) {
    const PoolOf pool(3);
    for (const int bits : {8, 16, 24, 32}) {
        for (const double rate : {44100.0, 48000.0}) {
            const StreamCase row{.fileBits = bits, .outputRate = rate, .frames = 30000};
            const RawFile file(row);
            const auto data = file.streamed();
            // Ends within a sample. In memory what comes after that is silence.
            const int bytes = bits / 8 * 20001 - (bits > 8 ? 1 : 0);
            ASSERT_EQ(::truncate(file.path().c_str(), RawFile::kOffset + bytes), 0);
            const std::string whole = file.wholeConversion();
            const std::string streamed = readStreamed(*data, row, 3);
            EXPECT_TRUE(streamed == whole.substr(0, streamed.size())) << row.name();
            ASSERT_EQ(::truncate(file.path().c_str(), 0), 0);
            const auto slice = read(*data, 0, 8191, true);
            EXPECT_TRUE(isSilent(slice.samples, 32768)) << row.name();
        }
    }
}

TEST(DiskFileData, StreamsAFileThatIsDeleted) {
    const RawFile file({});
    const auto data = file.streamed();
    const std::string whole = file.wholeConversion();
    ASSERT_EQ(::unlink(file.path().c_str()), 0);
    EXPECT_TRUE(readStreamed(*data, {}, 1) == whole);
}

TEST(DiskFileData, LeavesNothingBehindTheEndInItsBuffers) {
    const PoolOf pool(1);
    const RawFile longFile({.frames = 5000}), shortFile({.fileBits = 24, .outputBits = 24, .frames = 10});
    const auto loud = longFile.streamed(), brief = shortFile.streamed();
    read(*loud, 0, 1, true);
    const auto slice = read(*brief, 0, 0, true);
    EXPECT_EQ(slice.last, 19);
    EXPECT_TRUE(isSilent(slice.samples + 60, 32768 - 60));
}

TEST(DiskFileData, ReportsTheConversionThatIsSet) {
    const RawFile file({.outputRate = 48000, .frames = 441 + 1});
    const halyard::CSharedObjectRef<CDiskFileData> data(new CDiskFileData(file.url(), false, true));
    int last;
    const std::string uninitialized = "frame count uninitialized -- call setSampleConversion first";
    EXPECT_FALSE(data->getSampleConversion(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(messageThrownBy([&] { data->readSamples(0, 0, &last, false); }), uninitialized);
    EXPECT_EQ(messageThrownBy([&] { data->isSampleRangeLoaded(0, 0); }), uninitialized);
    EXPECT_EQ(messageThrownBy([&] { data->copySamples(0, 0, &last); }), uninitialized);
    const auto set = file.streamed();
    platform::AudioStreamBasicDescription from, to;
    int frames = 0;
    long long offset = 0;
    ASSERT_TRUE(set->getSampleConversion(&from, &frames, &offset, &to));
    EXPECT_EQ(from.mSampleRate, 44100);
    EXPECT_EQ(to.mSampleRate, 48000);
    EXPECT_EQ(frames, 481) << "442 frames are 481.09, and 443 would be 482.2";
    EXPECT_EQ(offset, RawFile::kOffset);
    EXPECT_TRUE(set->getSampleConversion(nullptr, nullptr, nullptr, nullptr));
}

TEST(DiskFileData, KeepsItsSlicesWhereTheSameConversionIsSetAgain) {
    for (const double rate : {44100.0, 48000.0}) {
        const StreamCase row{.outputRate = rate, .frames = 10000};
        const RawFile file(row);
        const auto data = file.streamed();
        const auto set = [&](int frames) {
            data->setSampleConversion(row.fileFormat(), frames, RawFile::kOffset, row.outputFormat());
            return data->isSampleRangeLoaded(0, 1);
        };
        read(*data, 0, 1, true);
        EXPECT_EQ(set(row.frames), rate == 44100) << "the count that is kept is the converted one";
        read(*data, 0, 1, true);
        EXPECT_FALSE(set(10884)) << "that count, as one of the file";
        int frames = 0;
        data->getSampleConversion(nullptr, &frames, nullptr, nullptr);
        EXPECT_EQ(frames, rate == 44100 ? 10884 : 11846);
    }
}

TEST(DiskFileData, CountsEveryFrameWhereTheRateStays) {
    constexpr int kFrames = (1 << 24) + 1;  // no float
    const RawFile file({});
    const halyard::CSharedObjectRef<CDiskFileData> data(new CDiskFileData(file.url(), false, true));
    const StreamCase mono{.channels = 1, .outputChannels = 1};
    data->setSampleConversion(mono.fileFormat(), kFrames, 0, mono.outputFormat());
    EXPECT_EQ(read(*data, kFrames - 1, kMost, true).last, kFrames - 1);
    EXPECT_EQ(read(*data, kFrames, kFrames, true).last, kFrames + 8191);
}

TEST(DiskFileData, RefusesWhatCannotBeAndKeepsWhatIsSet) {
    const StreamCase good;
    const RawFile file(good);
    const auto data = file.streamed();
    const struct {
        StreamCase wanted;
        int frames;
        long long offset;
        const char* message;
    } rows[] = {
        {{.channels = 0, .outputChannels = 0}, 1, 0, "the sample format has no channels"},
        {{.outputRate = 0}, 1, 0, "the sample format has no sample rate"},
        {{.fileBits = 12}, 1, 0, "sample size is not a whole number of bytes (it is 12 bits)"},
        {{.fileBits = 32, .outputBits = 16}, 1, 0, "this is not a supported conversion (4 to 2)"},
        {{.fileBits = 16, .outputBits = 24}, 1, 0, "this is not a supported conversion (2 to 3)"},
        {{.outputChannels = 1}, 1, 0, "Unsupported channel conversion. Source 2 channels, dest 1 channels."},
        {good, -1, 0, "frame count must not be negative (got -1)"},
        {good, 1, -1, "data offset must be a place in a file (got -1)"},
        {good, kMost, 0, "too many samples to count (2147483647 frames of 2 channels)"},
        {{.outputRate = 44100 * 64.0},
         kMost / 60,
         0,
         "35791394 frames at 44100 Hz are too many at 2.8224e+06 Hz"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(messageThrownBy([&] {
                      data->setSampleConversion(row.wanted.fileFormat(), row.frames, row.offset,
                                                row.wanted.outputFormat());
                  }),
                  row.message);
    }
    EXPECT_TRUE(readStreamed(*data, good, 0) == file.wholeConversion());
}
