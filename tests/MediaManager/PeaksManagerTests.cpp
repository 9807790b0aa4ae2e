// SPDX-License-Identifier: MIT
// Peaks against plain scans of the samples.
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/MediaManager/PeaksManager.h>
#include <MarlCore/MediaManager/PeaksReaderImpl.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "MediaManager/SampledSource.h"
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

namespace marl {
namespace {

using support::listOf;
using support::Peaks;
using support::SampledSource;
using support::scannedPeaks;

using PeaksOfSource = support::PeaksTest;

/// The peaks of the manager, from the samples, as many lanes as asked.
Peaks readBy(PeaksManager& manager, unsigned lanes, std::uint32_t from, std::uint32_t to, int columns) {
    return lanes == 1 ? listOf(manager.shortMonoPeaksFromFrame(from, to, columns, false))
                      : listOf(manager.floatStereoPeaksFromFrame(from, to, columns, false));
}

Peaks peaksOf(PeaksManager& manager, unsigned lanes, std::uint32_t from, std::uint32_t to, int columns) {
    return lanes == 1 ? listOf(manager.getPeaksFromFrame(from, to, columns, false))
                      : listOf(manager.getStereoPeaksFromFrame(from, to, columns, false));
}

TEST_F(PeaksOfSource, AreThoseOfAPlainScan) {
    constexpr std::uint32_t kLengths[] = {1, 2, 15, 16, 17, 100, 1000, 5000};
    constexpr int kWidths[] = {1, 2, 3, 7, 16, 100, 1001};
    unsigned seed = 0;
    for (const int bits : {8, 16, 24, 32}) {
        for (const unsigned channels : {1u, 2u, 3u}) {
            for (const std::uint32_t length : kLengths) {
                SampledSource source(bits, channels, length, ++seed);
                PeaksManager manager(source);
                const std::pair<std::uint32_t, std::uint32_t> ranges[] = {
                    {0, length - 1}, {length / 3, length / 2}, {length / 2, length - 1}, {0, 0}};
                for (const int blocks : {1 << 20, 128, 7}) {
                    source.data->mostAtOnce = blocks;
                    for (const auto& [from, to] : ranges)
                        for (const int width : kWidths)
                            for (const unsigned lanes : {1u, 2u})
                                ASSERT_EQ(readBy(manager, lanes, from, to, width),
                                          scannedPeaks(*source.data, lanes, from, to, width))
                                    << bits << " bits, " << channels << " channels, seed " << seed << ", "
                                    << from << " to " << to << " of " << length << " in " << width << " for "
                                    << lanes << ", blocks of " << blocks;
                }
            }
        }
    }
}

// A click is the whole difference between a silent file and another one: it must be in one column, of the
// whole and of a part, and where it is heard, an entry of the table more or less.
TEST_F(PeaksOfSource, HaveEachFrameInOneColumn) {
    for (const std::uint32_t length : {1u, 15u, 16u, 17u, 31u, 32u, 33u, 160u, 161u, 175u}) {
        SampledSource source(16, 2, length);
        const auto setFrame = [&](std::uint32_t frame, float left, float right) {
            source.data->set(frame, 0, left);
            source.data->set(frame, 1, right);
        };
        for (std::uint32_t frame = 0; frame < length; ++frame) setFrame(frame, 0, 0);
        const double entryFrames = length / std::max(length / kInterval, 1u) + 1;
        for (std::uint32_t click = 0; click < length; ++click) {
            setFrame(click, -0.25f, 0.5f);
            PeaksManager manager(source);
            for (const std::uint32_t from : {0u, length / 3, length / 2}) {
                for (const std::uint32_t to : {length - 1, length - 1 - length / 5}) {
                    if (click < from || click > to) continue;
                    for (const int width : {1, 2, 3, 5, 9, 10, 11, 200}) {
                        const Peaks peaks = peaksOf(manager, 2, from, to, width);
                        const std::string what = std::to_string(click) + " of " + std::to_string(length) +
                                                 " in " + std::to_string(width) + ", " +
                                                 std::to_string(from) + " to " + std::to_string(to);
                        EXPECT_EQ(std::ranges::count(peaks, 0.5f, &Peak::maximum), 1) << what;
                        EXPECT_EQ(std::ranges::count(peaks, -0.25f, &Peak::minimum), 1) << what;
                        const auto place = std::ranges::find(peaks, 0.5f, &Peak::maximum) - peaks.begin();
                        const double columnFrames = static_cast<double>(to - from) / width;
                        EXPECT_NEAR((static_cast<double>(place / 2) + 0.5) * columnFrames, click - from,
                                    columnFrames / 2 + entryFrames)
                            << what;
                        EXPECT_EQ(peaks.at(static_cast<std::size_t>(place) - 1).minimum, -0.25f) << what;
                    }
                }
            }
            setFrame(click, 0, 0);
        }
    }
}

TEST_F(PeaksOfSource, AreExactBehindTheSixthMinute) {
    constexpr std::uint32_t kLength = (1u << 24) + 50'000;
    SampledSource source(16, 1, kLength);
    PeaksManager manager(source);
    const std::uint32_t from = (1u << 24) + 1, to = (1u << 24) + 5;
    EXPECT_EQ(readBy(manager, 1, from, to, 3), scannedPeaks(*source.data, 1, from, to, 3));
    EXPECT_EQ(readBy(manager, 1, 0, kLength - 1, 1003), scannedPeaks(*source.data, 1, 0, kLength - 1, 1003));
}

TEST_F(PeaksOfSource, AreThoseOfAStreamedFile) {
    constexpr int kFrames = 30'000;
    for (const unsigned channels : {1u, 2u, 3u}) {
        SampledSource expected(16, channels, kFrames, channels);
        support::Bytes bytes;
        for (const float value : expected.data->values) bytes.big16(static_cast<int>(value * 32768));
        support::AIFFContents contents;
        contents.common = support::CommonChunk{.channels = static_cast<int>(channels)};
        contents.samples = bytes;
        const support::OpenedFile opened("loop.aif", support::aiffFile(contents));
        auto& parser = opened.parsed();
        IFileParser::FormatInfo format;
        parser.getFormatInfo(format);
        opened.file().useDiskFileData(support::urlOf(opened.path()), false);
        opened.data().setSampleConversion(format, kFrames, parser.getSampleOffset(),
                                          platform::makeHostFormat(44100, channels, 16));
        Peaks peaks(2 * 100);
        const auto range = peaks::FrameRange::between(100, kFrames - 1);
        peaks::readPeaks(opened.data(), range, true, 2, peaks);
        EXPECT_EQ(peaks, scannedPeaks(*expected.data, 2, 100, kFrames - 1, 100)) << channels;
    }
}

TEST_F(PeaksOfSource, AreFlatWhereNothingCanBeRead) {
    const Peaks flat(10, Peak{0, 0});
    SampledSource source(16, 1, 100);
    PeaksManager manager(source);
    EXPECT_EQ(readBy(manager, 1, 50, 40, 10), flat) << "from behind to";
    EXPECT_EQ(readBy(manager, 1, 100, 200, 10), flat) << "behind the end";
    EXPECT_EQ(readBy(manager, 1, 4'000'000'000u, 4'294'967'295u, 10), flat);
    const Peaks overTheEnd = readBy(manager, 1, 0, 200, 4);  // columns begin at 0, 50, 100 and 150
    EXPECT_EQ(Peaks(overTheEnd.begin() + 2, overTheEnd.end()), Peaks(2, Peak{0, 0}));
    EXPECT_EQ(overTheEnd[0], scannedPeaks(*source.data, 1, 0, 49, 1)[0]);
    SampledSource empty(16, 2, 0);
    PeaksManager ofEmpty(empty);
    EXPECT_EQ(peaksOf(ofEmpty, 2, 0, 0, 5), flat);
    source.data->failingSample = 90;
    EXPECT_EQ(readBy(manager, 1, 0, 99, 10), flat) << "the disk fails";
    source.data->failingSample = -1;
    source.data->onlyLoads = true;
    EXPECT_EQ(listOf(manager.shortMonoPeaksFromFrame(0, 99, 10, true)), flat) << "not in memory";
    EXPECT_NE(readBy(manager, 1, 0, 99, 10), flat);
    for (const int width : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(manager.getPeaksFromFrame(0, 99, width, false)->getEntryCount(), 0u) << width;
}

// Any bits can come out of a file of floats.
TEST_F(PeaksOfSource, LeaveOutWhatIsNoNumberAndKeepInfinities) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    SampledSource source(32, 1, 1600);
    for (std::uint32_t frame = 0; frame < 1600; frame += 7) source.data->set(frame, 0, kNaN);
    for (std::uint32_t frame = 140; frame < 340; ++frame) source.data->set(frame, 0, kNaN);
    source.data->set(500, 0, kInfinity);
    source.data->set(700, 0, -kInfinity);
    PeaksManager manager(source);
    for (const int width : {1, 10, 100, 1000})
        EXPECT_EQ(readBy(manager, 1, 0, 1599, width), scannedPeaks(*source.data, 1, 0, 1599, width)) << width;
    const Peaks peaks = peaksOf(manager, 1, 0, 1599, 10);  // from the table
    EXPECT_EQ(peaks[3].maximum, kInfinity);
    EXPECT_EQ(peaks[4].minimum, -kInfinity);
    EXPECT_EQ(peaks[1], (Peak{0, 0})) << "there is no number";
    EXPECT_FALSE(manager.waveformImageForSize({50, 30}).representations().empty());
}

TEST_F(PeaksOfSource, ShowFullScaleWithoutAFormatThatIsKnown) {
    SampledSource source(16, 1, 100);
    PeaksManager manager(source);
    for (const unsigned bits : {0u, 12u, 20u, 64u}) {
        source.data->format.mBitsPerChannel = bits;
        EXPECT_EQ(readBy(manager, 1, 0, 99, 10), Peaks(10, Peak{1, -1})) << bits << " bits";
    }
    source.data->format.mBitsPerChannel = 16;
    source.data->isDescribed = false;
    EXPECT_EQ(readBy(manager, 1, 0, 99, 10), Peaks(10, Peak{1, -1}));
}

// A settings file edited by hand can hold anything.
TEST_F(PeaksOfSource, TakeTheDefaultIntervalWhereThereIsNone) {
    SampledSource source(16, 1, 3000);
    for (const int interval : {0, -1, std::numeric_limits<int>::min()}) {
        setInterval(interval);
        EXPECT_EQ(PeaksManager::peaksTableInterval(), 256u) << interval;
        PeaksManager manager(source);
        EXPECT_EQ(peaksOf(manager, 1, 0, 2999, 1).size(), 1u);
    }
}

TEST_F(PeaksOfSource, FollowItsLengthAndTheInterval) {
    SampledSource source(16, 1, 3200);
    PeaksManager manager(source);
    manager.createPeakTable();
    SampledSource shorter(16, 1, 1600, 9);
    source.audio = shorter.audio;
    source.length = 1600;
    PeaksManager fresh(shorter);
    EXPECT_EQ(peaksOf(manager, 1, 0, 1599, 5), peaksOf(fresh, 1, 0, 1599, 5));
    setInterval(3);
    EXPECT_EQ(peaksOf(manager, 1, 0, 1599, 5), peaksOf(fresh, 1, 0, 1599, 5));
    EXPECT_FALSE(manager.getStereoPeaksFromFrame(0, 1599, 5, false)) << "a mono source has no stereo table";
}

}  // namespace
}  // namespace marl
