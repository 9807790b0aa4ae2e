// SPDX-License-Identifier: MIT
// The loop maker's catalogue is consistent, and what it renders is fit to be a loop.
#include "support/TemporaryFolder.h"

#include <MarlCore/Files/IFile.h>

#include <loopmaker/Render.h>
#include <loopmaker/WriteLoop.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

using loopmaker::LoopDescription;
using loopmaker::LoopEntry;
using loopmaker::Pack;
using loopmaker::RenderedLoop;

namespace {

constexpr std::uint64_t kSeed = 1;

/// Calls `check` with every file of the catalogue.
template <typename Check>
void forEachFile(Check check) {
    for (const Pack& pack : loopmaker::makeCatalogue()) {
        for (const LoopEntry& entry : pack.loops) {
            SCOPED_TRACE(entry.tag);
            check(pack, entry);
        }
    }
}

double peakOf(const std::vector<float>& samples) {
    double peak = 0;
    for (const float sample : samples) peak = std::max(peak, std::abs(static_cast<double>(sample)));
    return peak;
}

double meanOf(const std::vector<float>& samples) {
    double sum = 0;
    for (const float sample : samples) sum += sample;
    return sum / static_cast<double>(samples.size());
}

/// The largest step from one frame to the next in one channel, the seam from the last to the first aside.
float largestStep(const std::vector<float>& samples, std::size_t channels) {
    float largest = 0;
    for (std::size_t i = channels; i < samples.size(); ++i)
        largest = std::max(largest, std::abs(samples[i] - samples[i - channels]));
    return largest;
}

void expectConsistent(const LoopDescription& loop) {
    EXPECT_FALSE(loop.instrument.empty());
    EXPECT_FALSE(loop.genre.empty());
    EXPECT_FALSE(loop.descriptors.empty());
    EXPECT_GE(loop.rootNote, -1);
    EXPECT_LE(loop.rootNote, 127);
    EXPECT_GT(loop.frames, 0);
    if (loop.oneShot) {
        EXPECT_EQ(loop.tempo, 0);
    } else {
        const double quarters = loop.numberOfBeats * 4.0 / loop.timeSignature.denominator;
        EXPECT_EQ(loop.frames, std::llround(quarters * 60 / loop.tempo * loop.format.sampleRate));
    }
}

}  // namespace

TEST(LoopMaker, HasALibraryOfEverySortOfFile) {
    std::set<std::string> names, meters, genres, formats;
    forEachFile([&](const Pack& pack, const LoopEntry& entry) {
        const LoopDescription loop = describeLoop(pack, entry);
        expectConsistent(loop);
        EXPECT_TRUE(names.insert(loop.folder + "/" + loop.fileName).second) << "twice: " << loop.fileName;
        meters.insert(std::to_string(loop.timeSignature.numerator) + "/" +
                      std::to_string(loop.timeSignature.denominator));
        genres.insert(loop.genre);
        formats.insert((loop.format.container == loopmaker::Container::AIFF ? "AIFF " : "WAV ") +
                       std::to_string(loop.format.bits) + " " + std::to_string(loop.format.channels));
    });
    EXPECT_GE(names.size(), 60u);
    EXPECT_GE(genres.size(), 6u);
    for (const char* meter : {"4/4", "3/4", "6/8", "7/8"}) EXPECT_TRUE(meters.contains(meter)) << meter;
    for (const char* format : {"AIFF 16 1", "AIFF 16 2", "AIFF 24 1", "AIFF 24 2", "WAV 8 1", "WAV 16 1",
                               "WAV 16 2", "WAV 24 1", "WAV 24 2"})
        EXPECT_TRUE(formats.contains(format)) << format;
}

TEST(LoopMaker, RendersLoopsWithoutSilenceClippingOffsetOrClick) {
    forEachFile([](const Pack& pack, const LoopEntry& entry) {
        const RenderedLoop loop = renderLoop(pack, entry, kSeed);
        const auto channels = static_cast<std::size_t>(loop.description.format.channels);
        ASSERT_EQ(loop.samples.size(), static_cast<std::size_t>(loop.description.frames) * channels);
        EXPECT_GE(peakOf(loop.samples), std::pow(10, -3.1 / 20));
        EXPECT_LE(peakOf(loop.samples), std::pow(10, -0.9 / 20));
        EXPECT_LT(std::abs(meanOf(loop.samples)), 0.01);
        for (std::size_t c = 0; c < channels && !loop.description.oneShot; ++c) {
            const float seam = std::abs(loop.samples[c] - loop.samples[loop.samples.size() - channels + c]);
            EXPECT_LE(seam, largestStep(loop.samples, channels)) << "channel " << c;
        }
        const auto& transients = loop.description.transients;
        if (loop.description.oneShot) {
            EXPECT_TRUE(transients.empty());
        } else {
            ASSERT_FALSE(transients.empty());
            EXPECT_EQ(transients.front(), 0);
            EXPECT_LT(transients.back(), loop.description.frames);
            EXPECT_TRUE(std::is_sorted(transients.begin(), transients.end(), std::less_equal<>()));
        }
    });
}

TEST(LoopMaker, PlaysTheSameForTheSameSeed) {
    const Pack pack = loopmaker::harbourLights();
    const LoopEntry& entry = pack.loops.front();
    const auto samples = renderLoop(pack, entry, kSeed).samples;
    EXPECT_EQ(renderLoop(pack, entry, kSeed).samples, samples);
    EXPECT_NE(renderLoop(pack, entry, kSeed + 1).samples, samples);
}

TEST(LoopMaker, MakesOtherVolumesAndShortOnes) {
    const Pack pack = loopmaker::brassTacks();
    EXPECT_EQ(loopmaker::varyPack(pack, 0, kSeed).title, pack.title);
    const Pack second = loopmaker::varyPack(pack, 1, kSeed);
    EXPECT_NE(second.title, pack.title);
    const Pack small = loopmaker::shortenPack(second);
    for (const LoopEntry& entry : small.loops) {
        const LoopDescription loop = describeLoop(small, entry);
        expectConsistent(loop);
        EXPECT_EQ(loop.format.channels, 1);
        EXPECT_EQ(loop.format.bits, 16);
        EXPECT_LE(static_cast<double>(loop.frames) / loop.format.sampleRate, 3.5) << entry.tag;
    }
}

TEST(LoopMaker, WritesWhatItDescribes) {
    const support::TemporaryFolder folder;
    const Pack pack = loopmaker::sevenRivers();
    for (const LoopEntry& entry : pack.loops) {
        SCOPED_TRACE(entry.tag);
        const RenderedLoop loop = renderLoop(pack, entry, kSeed);
        writeLoop(loop, folder.path());
        const std::string path = folder.path(loop.description.folder + "/" + loop.description.fileName);
        const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
        const marl::IFileRef file(marl::IFile::New(url, false));
        marl::IFileParser& parser = *file->getFileParserRef();
        parser.parse(marl::IFileParser::kParseAll);
        EXPECT_EQ(parser.getLengthInFrames(), loop.description.frames);
        EXPECT_EQ(parser.getFileType() == marl::tagging::kFileTypeOneShot, loop.description.oneShot);
        EXPECT_EQ(parser.getTransients().size(), loop.description.transients.size());
        EXPECT_EQ(parser.getMidiRootNote(), std::max(loop.description.rootNote, 0));
        if (loop.description.format.container == loopmaker::Container::AIFF) {
            EXPECT_EQ(parser.getGenre().view(), loop.description.genre);
            EXPECT_EQ(parser.getDescriptors().size(), loop.description.descriptors.size());
        }
    }
}
