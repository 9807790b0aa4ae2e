// SPDX-License-Identifier: MIT
#include <MarlCore/platform/AudioConverter.h>

#include "platform/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace platform {
namespace {

using namespace testing_signals;
using Bytes = std::vector<std::byte>;

template <class T>
Bytes toBytes(const std::vector<T>& values) {
    const auto bytes = std::as_bytes(std::span(values));
    return {bytes.begin(), bytes.end()};
}

template <class T>
std::vector<T> fromBytes(const Bytes& bytes) {
    std::vector<T> values(bytes.size() / sizeof(T));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
    return values;
}

// Input that is granted in pieces of at most `grant` bytes, each at an odd address of its own.
struct Feed {
    Bytes bytes;
    std::uint32_t grant = std::numeric_limits<std::uint32_t>::max();
    std::size_t position = 0;
    Bytes lent{};
    std::uint32_t largestRequest = 0;

    static std::int32_t proc(AudioConverter*, std::uint32_t* ioByteCount, void** outData, void* userData) {
        Feed& feed = *static_cast<Feed*>(userData);
        feed.largestRequest = std::max(feed.largestRequest, *ioByteCount);
        const std::size_t left = feed.bytes.size() - feed.position;
        const std::size_t count = std::min<std::size_t>({left, *ioByteCount, feed.grant});
        feed.lent.assign(count + 1, std::byte{0x55});
        std::copy_n(feed.bytes.begin() + static_cast<std::ptrdiff_t>(feed.position), count,
                    feed.lent.begin() + 1);
        feed.position += count;
        *ioByteCount = static_cast<std::uint32_t>(count);
        *outData = feed.lent.data() + 1;
        return 0;
    }
};

std::unique_ptr<AudioConverter> makeConverter(double from, double to, std::uint32_t channels = 1,
                                              std::uint32_t bits = 32) {
    return AudioConverter::create(makeHostFormat(from, channels, bits), makeHostFormat(to, channels, bits));
}

// Fills `byteCount` bytes in pieces, between guard bytes that must survive.
Bytes fill(AudioConverter& converter, Feed& feed, std::size_t byteCount, std::uint32_t piece = 2048) {
    constexpr std::byte kGuard{0xA5};
    Bytes output;
    while (output.size() < byteCount) {
        auto count = static_cast<std::uint32_t>(std::min<std::size_t>(piece, byteCount - output.size()));
        const std::uint32_t asked = count;
        Bytes target(count + 2, kGuard);
        EXPECT_EQ(converter.fillBuffer(Feed::proc, &feed, &count, target.data() + 1), 0);
        EXPECT_EQ(count, asked);
        EXPECT_TRUE(target.front() == kGuard && target.back() == kGuard);
        output.insert(output.end(), target.begin() + 1, target.end() - 1);
    }
    return output;
}

std::vector<float> convert(const std::vector<float>& input, double from, double to, std::size_t outputSamples,
                           std::uint32_t channels = 1) {
    const auto converter = makeConverter(from, to, channels);
    Feed feed{toBytes(input)};
    return fromBytes<float>(fill(*converter, feed, outputSamples * sizeof(float)));
}

// The fit of a converted quarter of a second of a tone, over its middle half.
Fit convertTone(double frequency, double from, double to) {
    const auto frames = static_cast<std::size_t>(to / 4);
    const auto output = convert(sine(frequency, from, static_cast<std::size_t>(from / 4)), from, to, frames);
    return fitSine(std::span(output).subspan(frames / 4, frames / 2), frequency, to);
}

TEST(AudioConverter, ConvertsTonesCleanlyAtEveryKindOfRatio) {
    const struct {
        double from, to, signalToNoise;
    } kRatios[] = {
        {44100, 48000, 135},   {48000, 44100, 135},  {96000, 44100, 135},    {192000, 44100, 135},
        {22050, 44100, 135},   {44100, 22050, 135},  {44100, 96000, 135},    {88200, 48000, 135},
        {11025, 48000, 135},   {8000, 44100, 135},   {22255, 48000, 130},    {44101, 48000, 130},
        {48000, 44101, 130},   {47999, 48001, 130},  {95999, 22051, 130},    {44100, 22254.545454545456, 130},
        {32000.5, 44100, 130}, {352800, 44100, 135}, {11025.7, 192000, 130},
    };
    for (const auto& [from, to, signalToNoise] : kRatios) {
        SCOPED_TRACE(::testing::Message() << from << " to " << to);
        const double nyquist = std::min(from, to) / 2;
        for (const double frequency : {997.0, 0.45 * nyquist, 0.85 * nyquist}) {
            const Fit fit = convertTone(frequency, from, to);
            EXPECT_GE(fit.signalToNoise, signalToNoise) << frequency << " Hz";
            EXPECT_NEAR(fit.gain, 0, 0.01) << frequency << " Hz";
        }
    }
}

TEST(AudioConverter, IsFlatToTwentyKilohertz) {
    const double kRatios[][2] = {{44100, 48000}, {48000, 44100}, {96000, 44100}, {44101, 48000}};
    for (const auto& [from, to] : kRatios) {
        for (const double frequency :
             {20., 5000., 12000., 16000., 18000., 18700., 19300., 19600., 19800., 19900., 20000.}) {
            EXPECT_NEAR(convertTone(frequency, from, to).gain, 0, 0.01)
                << from << " to " << to << ", " << frequency;
        }
    }
}

TEST(AudioConverter, RejectsWhatTheNewRateCannotHold) {
    const double kRatios[][2] = {{48000, 44100}, {96000, 44100}, {44100, 22050}, {48000, 22051}};
    for (const auto& [from, to] : kRatios) {
        for (double ratio = 1; to / 2 * ratio < from / 2; ratio += ratio < 1.03 ? 0.004 : 0.07) {
            const double frequency = to / 2 * ratio + 1;
            EXPECT_LE(convertTone(frequency, from, to).level, -119.5)
                << from << " to " << to << ", " << frequency;
        }
    }
}

TEST(AudioConverter, LeavesNoImagesAboveTheOldNyquistFrequency) {
    // Their sum is the noise of a tone near the edge of the pass band.
    EXPECT_GE(convertTone(19000, 44100, 96000).signalToNoise, 125);
    EXPECT_GE(convertTone(10000, 22050, 44100).signalToNoise, 118);
}

TEST(AudioConverter, AlignsOutputFrameZeroWithInputFrameZero) {
    const double kRatios[][2] = {
        {44100, 48000}, {48000, 44100}, {96000, 44100}, {8000, 48000}, {44101, 22255}};
    for (const auto& [from, to] : kRatios) {
        const double frequency = std::min(from, to) / 10;
        const auto output = convert(sine(frequency, from, 6000), from, to, 2500);
        for (std::size_t n = 700; n < 2000; ++n) {
            ASSERT_NEAR(output[n], sineAt(frequency, static_cast<double>(n) / to), 2e-3)
                << from << " to " << to << ", frame " << n;
        }
    }
}

TEST(AudioConverter, PutsSilenceAroundTheInput) {
    // A long constant: its two edges mirror each other, and it dies away within half the kernel's length.
    const auto output = convert(std::vector<float>(4410, 0.5f), 44100, 48000, 6000);
    EXPECT_NEAR(output[0] + output[4800], 0.5, 1e-4);
    EXPECT_NEAR(output[2400], 0.5, 1e-3);
    EXPECT_TRUE(std::all_of(output.begin() + 4800 + 140, output.end(), [](float y) { return y == 0; }));
    EXPECT_EQ(convert({}, 44100, 48000, 3000), std::vector<float>(3000));
}

TEST(AudioConverter, KeepsChannelsApart) {
    for (const std::uint32_t channels : {2u, 3u, 5u, 64u}) {
        for (const double to : {48000.0, 44101.0}) {
            const std::size_t frames = 300, outputFrames = 320;
            const auto input = noise(frames * channels, 7);
            const auto output = convert(input, 44100, to, outputFrames * channels, channels);
            for (std::uint32_t c = 0; c < channels; ++c) {
                std::vector<float> alone, expected;
                for (std::size_t n = 0; n < frames; ++n) alone.push_back(input[n * channels + c]);
                for (std::size_t n = 0; n < outputFrames; ++n) expected.push_back(output[n * channels + c]);
                ASSERT_EQ(convert(alone, 44100, to, outputFrames), expected)
                    << "channel " << c << " of " << channels;
            }
        }
    }
}

TEST(AudioConverter, DoesNotDependOnPieceOrGrantSizes) {
    const struct {
        double from, to;
        std::uint32_t channels, bits;
    } kCases[] = {{44100, 48000, 2, 32}, {96000, 44100, 2, 24}, {22255, 48000, 1, 16}, {44100, 8000, 3, 24}};
    for (const auto& [from, to, channels, bits] : kCases) {
        const auto random = noise(6000 * channels, 11);
        Bytes input = toBytes(random);
        input.resize(5000 * channels * bits / 8);  // any bytes are integers; as floats they stay below 1
        const std::size_t outputBytes = static_cast<std::size_t>(5000 * to / from) * channels * bits / 8;
        const auto whole = makeConverter(from, to, channels, bits);
        Feed feed{input};
        const Bytes expected = fill(*whole, feed, outputBytes, 1u << 30);
        for (const std::uint32_t size : {1u, 2u, 7u, 1000u, 2048u, 4099u}) {
            const auto byPieces = makeConverter(from, to, channels, bits),
                       byGrants = makeConverter(from, to, channels, bits);
            Feed free{input}, limited{input, size};
            EXPECT_EQ(fill(*byPieces, free, outputBytes, size), expected)
                << from << " to " << to << ", pieces of " << size;
            EXPECT_EQ(fill(*byGrants, limited, outputBytes), expected)
                << from << " to " << to << ", grants of " << size;
        }
    }
}

TEST(AudioConverter, DropsAnIncompleteLastFrame) {
    auto input = toBytes(std::vector<std::int16_t>(400, 9000));
    Feed whole{input};
    input.insert(input.end(), 3, std::byte{0x7f});
    Feed cut{input};
    EXPECT_EQ(fill(*makeConverter(44100, 48000, 2, 16), cut, 2000),
              fill(*makeConverter(44100, 48000, 2, 16), whole, 2000));
}

std::int32_t int24At(const Bytes& bytes, std::size_t index) {
    const auto at = [&](std::size_t i) {
        const std::size_t place = std::endian::native == std::endian::big ? 2 - i : i;
        return std::to_integer<std::int32_t>(bytes[index * 3 + place]);
    };
    return ((at(2) ^ 0x80) - 0x80) * 65536 + at(1) * 256 + at(0);
}

Bytes int24Bytes(const std::vector<std::int32_t>& values) {
    Bytes bytes;
    for (const std::int32_t value : values) {
        for (int i = 0; i < 3; ++i) {
            const int shift = std::endian::native == std::endian::big ? 16 - 8 * i : 8 * i;
            bytes.push_back(static_cast<std::byte>(value >> shift));
        }
    }
    return bytes;
}

TEST(AudioConverter, RoundsIntegersToNearest) {
    // The same numbers as float tell what should come out.
    std::vector<std::int32_t> wide;
    std::vector<std::int16_t> narrow;
    for (const float value : noise(3000, 3)) {
        wide.push_back(static_cast<std::int32_t>(value * 8388608));
        narrow.push_back(static_cast<std::int16_t>(value * 32768));
    }
    std::vector<float> wideFloat, narrowFloat;
    for (const std::int32_t value : wide) wideFloat.push_back(static_cast<float>(value) / 8388608);
    for (const std::int16_t value : narrow) narrowFloat.push_back(static_cast<float>(value) / 32768);
    const auto expectedWide = convert(wideFloat, 44100, 48000, 3200);
    const auto expectedNarrow = convert(narrowFloat, 44100, 48000, 3200);
    Feed wideFeed{int24Bytes(wide)}, narrowFeed{toBytes(narrow)};
    const auto wideOutput = fill(*makeConverter(44100, 48000, 1, 24), wideFeed, 3200 * 3);
    const auto narrowOutput =
        fromBytes<std::int16_t>(fill(*makeConverter(44100, 48000, 1, 16), narrowFeed, 3200 * 2));
    for (std::size_t n = 0; n < 3200; ++n) {
        const double wideWanted = std::clamp(expectedWide[n] * 8388608.0, -8388608.0, 8388607.0);
        const double narrowWanted = std::clamp(expectedNarrow[n] * 32768.0, -32768.0, 32767.0);
        ASSERT_LE(std::abs(int24At(wideOutput, n) - wideWanted), 0.5) << n;
        ASSERT_LE(std::abs(narrowOutput[n] - narrowWanted), 0.5) << n;
    }
}

TEST(AudioConverter, SaturatesIntegers) {
    // A full-scale square wave overshoots by a tenth when its edges are band-limited.
    std::vector<std::int16_t> narrow(2000);
    std::vector<std::int32_t> wide(2000);
    for (std::size_t n = 0; n < 2000; ++n) {
        narrow[n] = n / 50 % 2 ? 32767 : -32768;
        wide[n] = n / 50 % 2 ? 8388607 : -8388608;
    }
    Feed narrowFeed{toBytes(narrow)}, wideFeed{int24Bytes(wide)};
    const auto narrowOutput =
        fromBytes<std::int16_t>(fill(*makeConverter(44100, 48000, 1, 16), narrowFeed, 4000));
    const auto wideBytes = fill(*makeConverter(44100, 48000, 1, 24), wideFeed, 6000);
    for (std::size_t n = 200; n < 1900; ++n) {
        // Away from the edges (none within 4 frames) the sign is the input's: nothing wraps round.
        const std::size_t in = n * 147 / 160, phase = in % 50;
        if (phase < 4 || phase > 45) continue;
        ASSERT_EQ(narrowOutput[n] > 0, narrow[in] > 0) << n;
        ASSERT_EQ(int24At(wideBytes, n) > 0, wide[in] > 0) << n;
    }
    EXPECT_EQ(std::ranges::max(narrowOutput), 32767);
    EXPECT_EQ(std::ranges::min(narrowOutput), -32768);
}

TEST(AudioConverter, TakesFloatsThatAreNotFiniteForSilence) {
    auto input = sine(440, 44100, 3000);
    auto clean = input;
    const float kBad[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(),
                          std::numeric_limits<float>::signaling_NaN()};
    for (std::size_t i = 0; i < 4; ++i) input[1000 + i * 17] = kBad[i], clean[1000 + i * 17] = 0;
    EXPECT_EQ(convert(input, 44100, 48000, 3200), convert(clean, 44100, 48000, 3200));
}

TEST(AudioConverter, ConvertsExtremeRatios) {
    const double kRatios[][2] = {
        {48000 * 256.0, 48000}, {1000, 256000}, {255999.9, 1000}, {1, 255.7}, {1e-3, 0.2}};
    for (const auto& [from, to] : kRatios) {
        const auto inputFrames = static_cast<std::size_t>(std::max(400.0, 400 * from / to));
        const auto output = convert(std::vector<float>(inputFrames, 0.5f), from, to, 400);
        const bool upwards = to > from;
        EXPECT_NEAR(output[upwards ? 399 : 200], 0.5, upwards ? 0.07 : 1e-3) << from << " to " << to;
    }
}

TEST(AudioConverter, PassesEqualRatesThrough) {
    const auto input = noise(5000, 5);
    EXPECT_EQ(convert(input, 44100, 44100, 5000), input);
}

TEST(AudioConverter, RefusesWhatItCannotConvert) {
    const auto good = makeHostFormat(44100, 2, 16);
    const double kInfinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* what;
        AudioStreamBasicDescription from, to;
    } kCases[] = {
        {"channels differ", good, makeHostFormat(48000, 1, 16)},
        {"widths differ", good, makeHostFormat(48000, 2, 24)},
        {"8 bits", makeHostFormat(44100, 2, 8), makeHostFormat(48000, 2, 8)},
        {"64 bits", makeHostFormat(44100, 2, 64), makeHostFormat(48000, 2, 64)},
        {"no channel", makeHostFormat(44100, 0, 16), makeHostFormat(48000, 0, 16)},
        {"65 channels", makeHostFormat(44100, 65, 16), makeHostFormat(48000, 65, 16)},
        {"2^31 + 1 channels", makeHostFormat(44100, 0x80000001u, 16), makeHostFormat(48000, 0x80000001u, 16)},
        {"no rate", good, makeHostFormat(0, 2, 16)},
        {"negative rate", makeHostFormat(-44100, 2, 16), makeHostFormat(-48000, 2, 16)},
        {"not a number", makeHostFormat(std::nan(""), 2, 16), good},
        {"infinite", good, makeHostFormat(kInfinity, 2, 16)},
        {"too far up", makeHostFormat(100, 2, 16), makeHostFormat(25601, 2, 16)},
        {"too far down", makeHostFormat(25601, 2, 16), makeHostFormat(100, 2, 16)},
        {"smallest and largest", makeHostFormat(5e-324, 2, 16), makeHostFormat(1.7e308, 2, 16)},
    };
    for (const auto& [what, from, to] : kCases) EXPECT_EQ(AudioConverter::create(from, to), nullptr) << what;
    auto odd = good, oddTo = makeHostFormat(48000, 2, 16);
    odd.mBytesPerFrame = oddTo.mBytesPerFrame = 5;
    EXPECT_EQ(AudioConverter::create(odd, oddTo), nullptr);
    EXPECT_NE(AudioConverter::create(good, makeHostFormat(48000, 2, 16)), nullptr);
}

TEST(AudioConverter, KnowsOneProperty) {
    const auto converter = makeConverter(44100, 48000);
    EXPECT_TRUE(converter->setProperty(fourCharCode("srci"), fourCharCode("csrc")));
    EXPECT_FALSE(converter->setProperty(fourCharCode("srci"), fourCharCode("bats")));
    EXPECT_FALSE(converter->setProperty(fourCharCode("srcq"), fourCharCode("csrc")));
}

TEST(AudioConverter, FailsAFillWithTheCallbacksErrorAndGoesOnLater) {
    struct Flaky {
        Feed feed;
        std::int32_t status = 0;
    } flaky{{toBytes(noise(9000, 2)), 3000}};
    const auto proc = [](AudioConverter* converter, std::uint32_t* ioByteCount, void** outData,
                         void* userData) {
        auto& state = *static_cast<Flaky*>(userData);
        state.status = state.status ? 0 : -1234;  // every other call fails
        return state.status ? state.status : Feed::proc(converter, ioByteCount, outData, &state.feed);
    };
    const auto converter = makeConverter(44100, 48000);
    Bytes output;
    int failures = 0;
    while (output.size() < 30000) {
        Bytes piece(1500);
        auto count = static_cast<std::uint32_t>(piece.size());
        const std::int32_t status = converter->fillBuffer(proc, &flaky, &count, piece.data());
        ASSERT_TRUE(status == -1234 || (status == 0 && count == piece.size()));
        failures += status != 0;
        output.insert(output.end(), piece.begin(), piece.begin() + count);
    }
    EXPECT_GT(failures, 5);
    Feed feed{flaky.feed.bytes};
    EXPECT_EQ(output, fill(*makeConverter(44100, 48000), feed, output.size()));
}

TEST(AudioConverter, RefusesArgumentsAndGrantsThatMakeNoSense) {
    const auto converter = makeConverter(44100, 48000);
    float target[4];
    std::uint32_t count = sizeof target;
    EXPECT_EQ(converter->fillBuffer(nullptr, nullptr, &count, target), kAudioParamError);
    EXPECT_EQ(converter->fillBuffer(Feed::proc, nullptr, nullptr, target), kAudioParamError);
    EXPECT_EQ(converter->fillBuffer(Feed::proc, nullptr, &count, nullptr), kAudioParamError);
    const AudioConverterInputProc tooMuch = [](AudioConverter*, std::uint32_t* ioByteCount, void**, void*) {
        *ioByteCount += 1;
        return 0;
    };
    const AudioConverterInputProc nowhere = [](AudioConverter*, std::uint32_t*, void** outData, void*) {
        *outData = nullptr;
        return 0;
    };
    for (const AudioConverterInputProc proc : {tooMuch, nowhere}) {
        count = sizeof target;
        EXPECT_EQ(converter->fillBuffer(proc, nullptr, &count, target), kAudioParamError);
        EXPECT_EQ(count, 0u);
    }
    count = 0;
    EXPECT_EQ(converter->fillBuffer(Feed::proc, nullptr, &count, nullptr), 0);
}

TEST(AudioConverter, ReadsAheadInModestBlocks) {
    for (const double to : {48000.0, 44101.0, 8000.0}) {
        const auto converter = makeConverter(44100, to, 2);
        Feed feed{toBytes(noise(100000, 1))};
        fill(*converter, feed, 8);
        EXPECT_GT(feed.largestRequest, 4096u);
        EXPECT_LE(feed.position, 65536u);
    }
}

}  // namespace
}  // namespace platform
