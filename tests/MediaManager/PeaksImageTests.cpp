// SPDX-License-Identifier: MIT
// Pictures, pixel by pixel.
#include <MarlCore/Common/MarlColors.h>
#include <MarlCore/MediaManager/PeaksManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "MediaManager/SampledSource.h"

namespace marl {
namespace {

using platform::BitmapImageRep;
using platform::Size;
using support::Peaks;
using support::SampledSource;

using PeaksImage = support::PeaksTest;

/// A picture as a table of marks, drawn another way: cell by cell, a row at a time.
using Marks = std::vector<std::vector<bool>>;

Marks marksOf(const BitmapImageRep& bitmap, std::uint32_t color) {
    Marks marks(bitmap.pixelsHigh(), std::vector<bool>(bitmap.pixelsWide()));
    for (std::size_t row = 0; row < marks.size(); ++row)
        for (std::size_t column = 0; column < marks[row].size(); ++column) {
            const std::uint32_t pixel = bitmap.pixels()[row * bitmap.bytesPerRow() / 4 + column];
            marks[row][column] = pixel == color;
            EXPECT_TRUE(pixel == color || pixel == 0);
        }
    return marks;
}

void drawLane(Marks& marks, const Peaks& peaks, unsigned lanes, unsigned lane) {
    const float height = static_cast<float>(marks.size());
    const float scale = (height - 4) * (lanes == 1 ? 0.5f : 0.25f);
    float above = 0, below = 0;
    for (std::size_t i = 0; i < marks[0].size(); ++i) {
        const float top = std::max(peaks[i * lanes + lane].maximum, below);
        const float bottom = std::min(peaks[i * lanes + lane].minimum, above);
        const int length = top < bottom ? 1 : static_cast<int>((top - bottom) * scale) + 1;
        int row = lane == 0 ? static_cast<int>(bottom * scale) + static_cast<int>(scale)
                            : static_cast<int>((height - 4.0) * 0.5 + bottom * scale + 1.0 + scale);
        if (row >= static_cast<int>(marks.size()) || row < 0) row = static_cast<int>(scale);
        for (int y = 0; y < static_cast<int>(marks.size()); ++y)
            if (y >= row && y < row + length) marks[static_cast<std::size_t>(y)][i] = true;
        above = top;
        below = bottom;
    }
}

Marks drawn(const Peaks& peaks, unsigned lanes, unsigned width, unsigned height) {
    Marks marks(height, std::vector<bool>(width));
    for (unsigned lane = 0; lane < lanes; ++lane) drawLane(marks, peaks, lanes, lane);
    return marks;
}

Peaks randomPeaks(std::size_t count, float most) {
    std::minstd_rand random(static_cast<unsigned>(count));
    std::uniform_real_distribution<float> any(-most, most);
    Peaks peaks(count);
    for (Peak& peak : peaks) {
        const auto [low, high] = std::minmax({any(random), any(random)});
        peak = {high, low};
    }
    return peaks;
}

TEST_F(PeaksImage, IsThatOfIndependentDrawing) {
    const std::pair<unsigned, unsigned> sizes[] = {{1, 4}, {7, 5}, {50, 20}, {333, 101}, {64, 200}};
    SampledSource source(16, 1, 100);
    PeaksManager manager(source);
    for (const auto& [width, height] : sizes) {
        for (const float most : {0.0f, 0.4f, 1.0f, 1.7f}) {
            const Size size{static_cast<float>(width), static_cast<float>(height)};
            const CPeaksBufferRef mono(new CPeaksBuffer(width));
            const CStereoPeaksBufferRef stereo(new CStereoPeaksBuffer(width));
            Peaks one = randomPeaks(width, most), two = randomPeaks(2 * width, most);
            for (std::size_t i = 5; i < one.size(); i += 11) one[i] = {-1, 1};  // columns without a frame
            std::ranges::copy(one, mono->peaks().begin());
            std::ranges::copy(two, stereo->peaks().begin());
            const auto monoMap = BitmapImageRep::create(width, height);
            const auto stereoMap = BitmapImageRep::create(width, height);
            manager.drawMonoWaveform(mono, size, *monoMap);
            manager.drawStereoWaveform(stereo, size, *stereoMap);
            EXPECT_EQ(marksOf(*monoMap, MarlWaveformColor.pixel()), drawn(one, 1, width, height))
                << width << " x " << height << ", " << most;
            EXPECT_EQ(marksOf(*stereoMap, MarlWaveformColor.pixel()), drawn(two, 2, width, height))
                << width << " x " << height << ", " << most;
        }
    }
}

// Values, heights and bitmaps that fit nothing: the sanitizers watch the memory.
TEST_F(PeaksImage, StaysInItsBitmap) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    const Peaks wild = {{kInfinity, -kInfinity}, {kNaN, kNaN}, {1e30f, 1e29f},
                        {-1e30f, 1e30f},         {-5, -6},     {9, 8}};
    const CPeaksBufferRef mono(new CPeaksBuffer(6));
    const CStereoPeaksBufferRef stereo(new CStereoPeaksBuffer(3));
    std::ranges::copy(wild, mono->peaks().begin());
    std::ranges::copy(wild, stereo->peaks().begin());
    SampledSource source(16, 1, 100);
    const PeaksManager manager(source);
    for (const unsigned height : {1u, 2u, 3u, 4u, 9u}) {
        for (const Size size :
             {Size{6, static_cast<float>(height)}, Size{100, 1}, Size{100, 1000}, Size{6.5f, 9.9f},
              Size{-3, -3}, Size{kNaN, kNaN}, Size{kInfinity, kInfinity}}) {
            const auto bitmap = BitmapImageRep::create(5, height);
            manager.drawMonoWaveform(mono, size, *bitmap);
            manager.drawStereoWaveform(stereo, size, *bitmap);
            manager.drawMonoWaveform(nullptr, size, *bitmap);
        }
    }
}

TEST_F(PeaksImage, OfASilentSourceIsALineInTheMiddle) {
    SampledSource source(16, 1, 64);
    for (std::uint32_t frame = 0; frame < 64; ++frame) source.data->set(frame, 0, 0);
    PeaksManager manager(source);
    manager.setWaveformColor({1, 0.5f, 0, 1});
    const auto image = manager.waveformImageForSize({8, 24});
    EXPECT_EQ(image.cacheMode(), platform::ImageCacheNever);
    const auto bytes = image.representations().at(0)->bytes();
    const unsigned char expected[] = {255, 127, 0, 255};
    for (std::size_t row = 0; row < 24; ++row)
        for (std::size_t i = 0; i < 32; ++i)
            EXPECT_EQ(std::to_integer<unsigned char>(bytes[row * 32 + i]), row == 10 ? expected[i % 4] : 0);
}

TEST_F(PeaksImage, IsClearWhereNothingIsToBeShown) {
    struct Case {
        const char* name;
        SampledSource source;
        bool isClear;
    };
    Case cases[] = {{"mono", {16, 1, 64}, false},
                    {"stereo", {16, 2, 64}, false},
                    {"three channels", {16, 3, 64}, true},
                    {"mono, delivered as stereo", {16, 2, 64}, true},
                    {"shorter than an entry", {16, 1, 15}, true},
                    {"one entry", {16, 1, 16}, false},
                    {"no frames", {16, 1, 0}, true}};
    cases[3].source.channels = 1;
    for (Case& one : cases) {
        PeaksManager manager(one.source);
        const auto whole = manager.waveformImageForSize({20, 20}).representations().at(0);
        const auto range = manager.waveformImageForSize({20, 20}, 0, 9, false).representations().at(0);
        for (const auto& bitmap : {whole, range})
            EXPECT_EQ(std::ranges::count(bitmap->pixels(), 0u) == 400, one.isClear) << one.name;
    }
    PeaksManager manager(cases[0].source);
    EXPECT_TRUE(manager.waveformImageForSize({0, 20}).representations().empty());
    EXPECT_TRUE(manager.waveformImageForSize({20, -1}).representations().empty());
    EXPECT_EQ(PeaksManager::createEmptyBitmapWithWidth(0, 3), nullptr);
}

TEST_F(PeaksImage, ComesFromTheCacheAsLongAsThatIsValid) {
    SampledSource source(16, 1, 640);
    PeaksManager manager(source);
    const auto bitmapFor = [&](Size size) {
        return manager.waveformImageForSize(size).representations().at(0);
    };
    const auto first = bitmapFor({50, 20});
    const struct {
        Size size;
        bool isCached;
    } kRows[] = {{{50, 20}, true},  {{50.9f, 20.5f}, true}, {{49, 20}, true},  {{49, 99}, true},
                 {{48, 20}, false}, {{51, 20}, false},      {{50, 21}, false}, {{49.5f, 20}, false}};
    for (const auto& row : kRows) {
        manager.cacheImage([&] {
            platform::Image image({50, 20});
            image.addRepresentation(first);
            return image;
        }());
        manager.cacheSize({50, 20});
        EXPECT_EQ(bitmapFor(row.size) == first, row.isCached) << row.size.width << " x " << row.size.height;
    }
    const auto last = bitmapFor({50, 20});
    manager.setWaveformColor({1, 1, 1});
    manager.setWaveformOpacity(0.5f);
    EXPECT_EQ(manager.waveformOpacity(), 0.5f);
    EXPECT_EQ(bitmapFor({50, 20}), last) << "a colour counts from the next drawing on";
    EXPECT_NE(manager.waveformImageForSize({50, 20}, 0, 639, false).representations().at(0), last);
    EXPECT_EQ(bitmapFor({50, 20}), last) << "a range does not touch the cache";
    manager.invalidateCache();
    EXPECT_NE(bitmapFor({50, 20}), last);
}

// A range image waits for the disk only when the table is complete and nothing plays.
TEST_F(PeaksImage, OfARangeWaitsForTheDiskWhereItMay) {
    SampledSource source(16, 1, 160);
    source.data->onlyLoads = true;
    PeaksManager manager(source);
    const auto marks = [&](bool isPlaying) {
        const auto bitmap = manager.waveformImageForSize({20, 30}, 0, 159, isPlaying).representations().at(0);
        return std::ranges::count_if(bitmap->pixels(), [](std::uint32_t pixel) { return pixel != 0; });
    };
    EXPECT_EQ(marks(false), 20) << "a flat line: there is no table yet";
    EXPECT_TRUE(manager.isPeaksTableBuilt());
    EXPECT_EQ(marks(true), 20);
    EXPECT_GT(marks(false), 20);
}

TEST(DrawVerticalLine, SetsOnePixelARow) {
    std::uint32_t pixels[12] = {};
    DrawVerticalLine(pixels + 1, 3, 4, 7);
    DrawVerticalLine(pixels, 0, 4, 9);
    const std::uint32_t expected[12] = {0, 7, 0, 0, 0, 7, 0, 0, 0, 7, 0, 0};
    EXPECT_TRUE(std::ranges::equal(pixels, expected));
}

}  // namespace
}  // namespace marl
