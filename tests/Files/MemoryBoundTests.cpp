// SPDX-License-Identifier: MIT
// However a small file lies about itself, reading it takes little memory: the program that these tests are
// linked into counts its allocations.
#include "AllocationMeter.h"

#include "support/LoopFiles.h"
#include "support/OpenedFile.h"
#include "support/ParsedFile.h"

#include <MarlCore/foundation/CBuffer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <vector>

using marl::IFileParser;
using support::AllocationMeter;
using support::Bytes;

namespace {

constexpr std::size_t kMiB = 1 << 20;
constexpr std::size_t kSmallFile = 99;  // bytes

/// Runs `action`, to which a refusal is a right answer; returns whether it went through.
template <typename Action>
bool succeeds(Action action) {
    try {
        action();
        return true;
    } catch (const halyard::CException& exception) {
        EXPECT_EQ(exception.getType(), halyard::kParameterError) << exception.what();
        return false;
    }
}

/// Parses the file and reads all of its samples at its own rate and at `outputRate`, as they are and in
/// stereo. Returns how many of these conversions went through.
int readAll(const std::string& path, double outputRate) {
    const marl::IFileRef file(marl::IFile::New(support::urlOf(path), false));
    IFileParser& parser = *file->getFileParserRef();
    if (!succeeds([&] { parser.parse(IFileParser::kParseAll); })) return 0;
    IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    const auto frames = static_cast<int>(parser.getLengthInFrames());
    int conversions = 0;
    for (const double rate : {format.mSampleRate, outputRate}) {
        for (const std::uint32_t channels : {format.mChannelsPerFrame, 2u}) {
            conversions += succeeds([&] {
                file->getFileDataRef()->setSampleConversion(format, frames, parser.getSampleOffset(),
                                                            platform::makeHostFormat(rate, channels, 32));
            });
        }
    }
    return conversions;
}

class MemoryBound : public testing::Test {
protected:
    /// Reads a small file, which must not take more than 1 MiB.
    void expectModest(const char* extension, const Bytes& contents, double outputRate) {
        ASSERT_LE(contents.size(), kSmallFile);
        const std::string name = std::string("a") += extension;
        std::filesystem::remove(m_folder.path(name));
        const std::string path = m_folder.write(name, contents);
        const AllocationMeter meter;
        m_conversions += readAll(path, outputRate);
        EXPECT_LE(meter.mostLiveBytes(), kMiB);
        m_most = std::max(m_most, meter.mostLiveBytes());
    }
    void TearDown() override {
        RecordProperty("mostLiveBytes", std::to_string(m_most));
        EXPECT_GT(m_conversions, 0) << "no file was read";
    }

private:
    support::TemporaryFolder m_folder;
    std::size_t m_most = 0;
    int m_conversions = 0;
};

/// The smallest file of a format, filled up to 99 bytes with samples; their chunk claims all there can be.
Bytes smallAIFF(double sampleRate, int channels, int bits) {
    Bytes file("FORM");
    file.big32(91).text("AIFF").bigChunk(
        "COMM",
        support::commonBody({.channels = channels, .bitsPerChannel = bits, .sampleRate = sampleRate}, 0));
    file.bigChunkClaiming("SSND", 0xFFFFFFFF, Bytes().zeros(8));
    return file.zeros(kSmallFile - file.size());
}

Bytes smallWAV(double sampleRate, int channels, int bits) {
    Bytes file("RIFF");
    file.little32(91).text("WAVE").littleChunk(
        "fmt ", support::wavFormatBody({.channels = channels,
                                        .sampleRate = static_cast<std::int64_t>(sampleRate),
                                        .bitsPerChannel = bits}));
    file.littleChunkClaiming("data", 0xFFFFFFFF, Bytes());
    return file.zeros(kSmallFile - file.size());
}

struct Shape {
    int channels, bits;
};

/// One sample a channel, none, and more channels than a converter takes.
constexpr Shape kShapes[] = {{1, 8}, {2, 8}, {6, 16}, {22, 16}, {45, 8}, {55, 8}, {64, 24}, {32767, 8}};

}  // namespace

TEST(AllocationMeter, CountsWhatIsHeldAtOnce) {
    const AllocationMeter meter;
    for (int i = 0; i < 3; ++i) {
        const halyard::CBufferRef buffer(new halyard::CBuffer(100000, i == 1));
        const std::vector<double> numbers(10000);
        const auto aligned = std::make_unique<std::byte[]>(1000);
    }
    EXPECT_GE(meter.mostLiveBytes(), 181000u);
    EXPECT_LT(meter.mostLiveBytes(), 190000u) << "what has gone does not count";
    EXPECT_GE(meter.largestBlock(), 100000u);
    EXPECT_LT(meter.largestBlock(), 110000u);
    const halyard::CBufferRef large(new halyard::CBuffer(std::size_t{20} << 20, false));
    EXPECT_GE(meter.mostLiveBytes(), std::size_t{20} << 20) << "and neither do aligned blocks go uncounted";
}

TEST_F(MemoryBound, HoldsForSeedsThatAreCutOff) {
    for (const char* name :
         {"bare", "empty", "one-shot", "slow", "stereo", "surround", "two-seconds", "wide"}) {
        for (std::size_t length = 0; length <= kSmallFile; ++length) {
            SCOPED_TRACE(std::string(name) + " cut off at byte " + std::to_string(length));
            const std::string seed(name);
            expectModest(".aif", support::seedFile("aiff_fuzzer/" + seed + ".aif").first(length), 48000);
            expectModest(".wav", support::seedFile("wav_fuzzer/" + seed + ".wav").first(length), 48000);
        }
    }
}

TEST_F(MemoryBound, HoldsForEveryRateOfAFile) {
    for (const Shape& shape : kShapes) {
        for (const double rate : {1.0, 3.0, 187.0, 188.0, 8000.0, 22255.0, 47999.0, 96000.0, 1234567.0,
                                  12287999.0, 12288001.0, 4e9}) {
            SCOPED_TRACE(std::to_string(rate) + " Hz, " + std::to_string(shape.channels) + " channels of " +
                         std::to_string(shape.bits) + " bits");
            expectModest(".aif", smallAIFF(rate, shape.channels, shape.bits), 48000);
            expectModest(".wav", smallWAV(rate, shape.channels, shape.bits), 48000);
        }
    }
}

TEST_F(MemoryBound, HoldsForEveryRateThatIsAskedFor) {
    for (const Shape& shape : kShapes) {
        for (const double rate : {1.0, 172.0, 173.0, 8000.0, 22254.545, 44099.0, 48000.0, 192000.0,
                                  11289600.0, 11289601.0, 4e9}) {
            SCOPED_TRACE("to " + std::to_string(rate) + " Hz, " + std::to_string(shape.channels) +
                         " channels of " + std::to_string(shape.bits) + " bits");
            expectModest(".aif", smallAIFF(44100, shape.channels, shape.bits), rate);
            expectModest(".wav", smallWAV(44100, shape.channels, shape.bits), rate);
        }
    }
}

TEST_F(MemoryBound, HoldsForChunksThatClaimGigabytes) {
    const Bytes aiff = smallAIFF(44100, 1, 16).first(38), wav = smallWAV(44100, 1, 16).first(36);
    for (const std::int64_t size : {0x7FFFFFFFLL, 0xFFFFFFFELL, 0xFFFFFFFFLL}) {
        for (const char* id : {"basc", "cate", "trns", "NAME", "ANNO", "MIDI", "SSND"})
            expectModest(".aif", Bytes(aiff).bigChunkClaiming(id, size, Bytes().zeros(40)), 48000);
        for (const char* id : {"acid", "strc", "LIST", "data"})
            expectModest(".wav", Bytes(wav).littleChunkClaiming(id, size, Bytes("INFO").zeros(40)), 48000);
    }
}
