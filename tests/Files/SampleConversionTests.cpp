// SPDX-License-Identifier: MIT
// The eight converters against their formulas, on every value that 8, 16 and 24 bits have.
#include "support/OpenedFile.h"

#include <MarlCore/Files/streaming/CSharedOffline.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <random>

using halyard::CBuffer;
using marl::CBufferRef;
using support::messageThrownBy;

namespace {

constexpr bool kHostIsBigEndian = std::endian::native == std::endian::big;

/// Any data strategy has the converters; this one needs no file.
marl::IFileDataRef dataOfOrder(bool bigEndian) {
    return marl::IFileDataRef(new marl::COfflineFileData(bigEndian));
}

/// `count` samples of `width` bytes holding 0, 1, 2 …, in the given byte order.
CBufferRef countingSamples(std::size_t count, std::size_t width, bool bigEndian) {
    const CBufferRef buffer(new CBuffer(count * width, false));
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t byte = 0; byte < width; ++byte) {
            const std::size_t shift = 8 * (bigEndian ? width - 1 - byte : byte);
            buffer->getPtr()[i * width + byte] = static_cast<std::byte>(i >> shift);
        }
    }
    return buffer;
}

/// Sample `i` of `width` bytes in host order, as an unsigned number.
std::uint32_t hostSample(const CBufferRef& buffer, std::size_t i, std::size_t width) {
    std::uint32_t value = 0;
    for (std::size_t byte = 0; byte < width; ++byte) {
        const std::size_t at = kHostIsBigEndian ? byte : width - 1 - byte;
        value = value << 8 | std::to_integer<std::uint32_t>(buffer->getPtr()[i * width + at]);
    }
    return value;
}

float hostFloat(const CBufferRef& buffer, std::size_t i) {
    return std::bit_cast<float>(hostSample(buffer, i, 4));
}

std::int32_t signedValue(std::size_t raw, int bits) {
    const auto value = static_cast<std::int32_t>(raw);
    return value >= 1 << (bits - 1) ? value - (1 << bits) : value;
}

using Converter = CBufferRef (marl::IFileData::*)(CBufferRef, int, int, int);

struct Row {
    const char* name;
    Converter convert;
    std::size_t fromBytes, toBytes;
    bool stereo;  // mono to stereo is supported
    std::uint32_t (*expected)(std::size_t raw);
};

std::uint32_t bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

/// value x 0x33F7292D, rounded once: the product of 24 and 24 bits is exact in a double.
std::uint32_t floatOf24(std::size_t raw) {
    return bits(static_cast<float>(static_cast<double>(signedValue(raw, 24)) * 1.15093236e-07f));
}

const Row kRows[] = {
    {"8 to 16", &marl::IFileData::convert8To16, 1, 2, true,
     [](std::size_t raw) { return static_cast<std::uint32_t>(signedValue(raw, 8) * 256) & 0xFFFF; }},
    {"8 to float", &marl::IFileData::convert8ToFloat, 1, 4, true,
     [](std::size_t raw) { return bits((static_cast<float>(raw) - 128) / 128); }},
    {"16 to 16", &marl::IFileData::convert16To16, 2, 2, true,
     [](std::size_t raw) { return static_cast<std::uint32_t>(raw); }},
    {"16 to float", &marl::IFileData::convert16ToFloat, 2, 4, false,
     [](std::size_t raw) { return bits(std::ldexp(static_cast<float>(signedValue(raw, 16)), -15)); }},
    {"24 to float", &marl::IFileData::convert24ToFloat, 3, 4, true, floatOf24},
    {"24 to 16", &marl::IFileData::convert24To16, 3, 2, true,
     [](std::size_t raw) { return static_cast<std::uint32_t>(raw >> 8); }},
    {"24 to 24", &marl::IFileData::convert24To24, 3, 3, false,
     [](std::size_t raw) { return static_cast<std::uint32_t>(raw); }},
};

void expectAllValues(const Row& row, bool bigEndian, bool stereo) {
    SCOPED_TRACE(std::string(row.name) + (bigEndian ? ", big-endian" : ", little-endian") +
                 (stereo ? ", doubled" : ""));
    const std::size_t count = std::size_t{1} << 8 * row.fromBytes, copies = stereo ? 2 : 1;
    const CBufferRef source = countingSamples(count, row.fromBytes, bigEndian);
    const CBufferRef converted =
        ((*dataOfOrder(bigEndian)).*row.convert)(source, static_cast<int>(count), 1, stereo ? 2 : 1);
    ASSERT_EQ(converted->getSize(), count * copies * row.toBytes);
    for (std::size_t i = 0; i < count * copies; ++i)
        ASSERT_EQ(hostSample(converted, i, row.toBytes), row.expected(i / copies)) << "sample " << i;
}

}  // namespace

TEST(SampleConversion, FollowsItsFormulaOnEveryValue) {
    for (const Row& row : kRows) {
        for (const bool bigEndian : {false, true}) {
            expectAllValues(row, bigEndian, false);
            if (row.stereo) expectAllValues(row, bigEndian, true);
        }
    }
}

TEST(SampleConversion, TakesEightBitsAsTheFormatHasThem) {
    const marl::IFileDataRef data = dataOfOrder(false);
    data->setSamplesAreSigned(false);
    const CBufferRef converted = data->convert8To16(countingSamples(256, 1, false), 256, 1, 1);
    for (std::size_t i = 0; i < 256; ++i)
        EXPECT_EQ(hostSample(converted, i, 2),
                  static_cast<std::uint32_t>((static_cast<int>(i) - 128) * 256) & 0xFFFF);
    for (const bool isSigned : {false, true}) {
        data->setSamplesAreSigned(isSigned);
        const CBufferRef floats = data->convert8ToFloat(countingSamples(256, 1, false), 256, 1, 1);
        EXPECT_EQ(hostFloat(floats, 0), -1.0f);
        EXPECT_EQ(hostFloat(floats, 0x80), 0.0f);
    }
}

TEST(SampleConversion, ScalesFullScaleOf24BitsToALittleLess) {
    const CBufferRef lowest(new CBuffer("\x80\0\0", 3, false));
    EXPECT_NEAR(hostFloat(dataOfOrder(true)->convert24ToFloat(lowest, 1, 1, 1), 0), -0.9655, 0.0001);
}

TEST(SampleConversion, PassesFloatsThrough) {
    constexpr std::size_t kCount = 10'000'000;
    std::mt19937 random(20240);  // fixed, so that a failure can be repeated
    const CBufferRef source(new CBuffer(kCount * 4, false));
    for (std::size_t i = 0; i < kCount; ++i) {
        const auto bits = static_cast<std::uint32_t>(random());
        std::memcpy(source->getPtr() + i * 4, &bits, 4);
    }
    const CBufferRef reversed(new CBuffer(source->getPtr(), source->getSize(), false));
    for (std::size_t i = 0; i < kCount; ++i)
        std::reverse(reversed->getPtr() + i * 4, reversed->getPtr() + i * 4 + 4);
    const auto same = [&](const CBufferRef& converted) {
        return std::memcmp(converted->getPtr(), source->getPtr(), source->getSize()) == 0;
    };
    const int count = static_cast<int>(kCount);
    EXPECT_TRUE(same(dataOfOrder(kHostIsBigEndian)->convertFloatToFloat(source, count, 2, 2)));
    EXPECT_TRUE(same(dataOfOrder(!kHostIsBigEndian)->convertFloatToFloat(reversed, count, 2, 2)));
    const CBufferRef stereo = dataOfOrder(kHostIsBigEndian)->convertFloatToFloat(source, 1000, 1, 2);
    ASSERT_EQ(stereo->getSize(), 8000u);
    for (std::size_t i = 0; i < 2000; ++i) ASSERT_EQ(hostSample(stereo, i, 4), hostSample(source, i / 2, 4));
}

TEST(SampleConversion, ReversesTheSourceOnEveryCall) {
    const marl::IFileDataRef foreign = dataOfOrder(!kHostIsBigEndian);
    const CBufferRef source = countingSamples(65536, 2, !kHostIsBigEndian);
    const CBufferRef once = foreign->convert16ToFloat(source, 65536, 1, 1);
    EXPECT_EQ(hostSample(source, 0x1234, 2), 0x1234u) << "in the caller's buffer";
    const CBufferRef twice = foreign->convert16ToFloat(source, 65536, 1, 1);
    EXPECT_NE(hostFloat(once, 1), hostFloat(twice, 1)) << "and so back again by a second call";
    const CBufferRef native = countingSamples(65536, 2, kHostIsBigEndian);
    EXPECT_EQ(dataOfOrder(kHostIsBigEndian)->convert16To16(native, 65536, 2, 2), native) << "nothing to do";
}

TEST(SampleConversion, RefusesOtherChannelPairs) {
    const marl::IFileDataRef data = dataOfOrder(true);
    const auto refused = [&](Converter convert, int from, int to) {
        return messageThrownBy([&] { ((*data).*convert)(countingSamples(6, 4, true), 6, from, to); });
    };
    const auto message = [](int from, int to) {
        return "Unsupported channel conversion. Source " + std::to_string(from) + " channels, dest " +
               std::to_string(to) + " channels.";
    };
    const std::pair<int, int> pairs[] = {{2, 1}, {1, 3}, {2, 4}, {0, 0}, {-1, -1}, {3, 2}};
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        for (const auto& [from, to] : pairs) EXPECT_EQ(refused(row.convert, from, to), message(from, to));
        EXPECT_EQ(refused(row.convert, 3, 3), "");
        EXPECT_EQ(refused(row.convert, 1, 2), row.stereo ? "" : message(1, 2));
    }
    EXPECT_EQ(refused(&marl::IFileData::convertFloatToFloat, 2, 1), message(2, 1));
}

TEST(SampleConversion, NeverReadsBeyondTheSource) {
    const marl::IFileDataRef data = dataOfOrder(true);
    EXPECT_EQ(data->convert16ToFloat(countingSamples(3, 2, true), 1000000, 1, 1)->getSize(), 12u);
    EXPECT_EQ(data->convert16ToFloat(countingSamples(3, 2, true), -1, 1, 1)->getSize(), 0u);
    EXPECT_EQ(messageThrownBy([&] { data->convert16ToFloat({}, 1, 1, 1); }), "Error: source is null!");
}

TEST(SampleConversion, ComparesOnlyWhatMattersOfADescription) {
    using Format = platform::AudioStreamBasicDescription;
    const Format format = platform::makeHostFormat(44100, 2, 16);
    const struct {
        void (*change)(Format&);
        bool equivalent;
    } rows[] = {{[](Format& f) { f.mSampleRate = 48000; }, false},
                {[](Format& f) { f.mFormatID = 1; }, false},
                {[](Format& f) { f.mFormatFlags ^= 1; }, false},
                {[](Format& f) { f.mBytesPerFrame = 1; }, false},
                {[](Format& f) { f.mChannelsPerFrame = 1; }, false},
                {[](Format& f) { f.mBitsPerChannel = 8; }, false},
                {[](Format& f) { f.mBytesPerPacket = 99; }, true},
                {[](Format& f) { f.mFramesPerPacket = 99; }, true},
                {[](Format& f) { f.mReserved = 99; }, true}};
    for (const auto& row : rows) {
        Format other = format;
        row.change(other);
        EXPECT_EQ(marl::IFileData::AudioDescriptionsAreEquivalent(format, other), row.equivalent);
    }
}
