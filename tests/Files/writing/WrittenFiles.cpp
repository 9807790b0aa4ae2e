// SPDX-License-Identifier: MIT
#include "WrittenFiles.h"
#include "support/MovieFiles.h"

#include <MarlCore/Files/CMemoryFileData.h>
#include <MarlCore/Files/parsing/CAIFFileParser.h>
#include <MarlCore/Files/parsing/CQTFileParser.h>
#include <MarlCore/Files/parsing/CWAVFileParser.h>
#include <MarlCore/Files/writing/CAIFWriter.h>
#include <MarlCore/Files/writing/CQTWriter.h>
#include <MarlCore/Files/writing/CWAVWriter.h>
#include <MarlCore/platform/ByteOrder.h>

#include <gtest/gtest.h>

#include <random>

namespace support {
namespace {

constexpr double kRate = 44100;

CURLRef urlOf(const std::string& path) {
    return CURLRef(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
}

std::uint32_t sizeAt(const std::string& contents, std::size_t offset, Container container) {
    const char* const field = contents.data() + offset;
    return container == Container::kAIFF ? platform::loadBig32(field) : platform::loadLittle32(field);
}

}  // namespace

const char* WrittenFormat::fileName() const {
    constexpr const char* kNames[] = {"take.aif", "take.wav", "take.mov"};
    return kNames[static_cast<std::size_t>(container)];
}

std::ostream& operator<<(std::ostream& stream, const WrittenFormat& format) {
    constexpr const char* kNames[] = {"AIFF, ", "WAV, ", "QuickTime, "};
    return stream << kNames[static_cast<std::size_t>(format.container)] << format.channels << " channels of "
                  << format.bits << " bits";
}

const std::vector<WrittenFormat>& writtenFormats() {
    static const std::vector<WrittenFormat> formats = [] {
        std::vector<WrittenFormat> all;
        for (const int channels : {1, 2, 6}) {
            for (const int bits : {16, 24}) all.push_back({Container::kAIFF, channels, bits});
            for (const int bits : {8, 16, 24}) all.push_back({Container::kWAV, channels, bits});
            for (const int bits : {16, 24, 32}) all.push_back({Container::kQuickTime, channels, bits});
        }
        return all;
    }();
    return formats;
}

LoopDescriptionRef describe(const WrittenFormat& format) {
    return LoopDescriptionRef(new marl::CLoopDescription(kRate, format.channels, format.bits));
}

marl::IFileWriterRef newWriter(Container container, const std::string& path,
                               const marl::IFileParserRef& parser, bool overwrite) {
    if (container == Container::kAIFF)
        return marl::IFileWriterRef(new marl::CAIFWriter(halyard::CSTR(path), parser, overwrite));
    if (container == Container::kQuickTime)
        return marl::IFileWriterRef(new marl::CQTWriter(halyard::CSTR(path), parser, overwrite));
    return marl::IFileWriterRef(new marl::CWAVWriter(halyard::CSTR(path), parser, overwrite));
}

std::string randomSamples(const WrittenFormat& format, int samples, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(static_cast<std::size_t>(samples * format.bytesPerSample()), '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

std::string silence(const WrittenFormat& format, int samples) {
    return std::string(static_cast<std::size_t>(samples * format.bytesPerSample()),
                       format.bits == 8 ? '\x80' : '\0');
}

marl::IFileParserRef parsed(const std::string& path, Container container) {
    const bool isBigEndian = container != Container::kWAV;
    const marl::IFileDataRef file(new marl::CMemoryFileData(urlOf(path), false, isBigEndian));
    marl::IFileParserRef parser;
    if (container == Container::kAIFF)
        parser = new marl::CAIFFileParser(file);
    else if (container == Container::kQuickTime)
        parser = new marl::CQTFileParser(file);
    else
        parser = new marl::CWAVFileParser(file);
    parser->parse(marl::IFileParser::kParseAll);
    return parser;
}

std::string deliveredSamples(const std::string& path, const WrittenFormat& format) {
    if (format.container == Container::kQuickTime)
        return deliveredSound(*marl::IFileRef(marl::IFile::New(urlOf(path), false)),
                              static_cast<unsigned>(format.bits));
    const marl::IFileParserRef parser = parsed(path, format.container);
    marl::IFileParser::FormatInfo fileFormat;
    parser->getFormatInfo(fileFormat);
    const bool isAIFF = format.container == Container::kAIFF;
    const marl::IFileDataRef file(new marl::CMemoryFileData(urlOf(path), false, isAIFF));
    file->setSamplesAreSigned(isAIFF);
    const unsigned bits = fileFormat.mBitsPerChannel == 8 ? 16 : fileFormat.mBitsPerChannel;
    const auto frames = static_cast<int>(parser->getLengthInFrames());
    if (frames == 0) return {};
    file->setSampleConversion(
        fileFormat, frames, parser->getSampleOffset(),
        platform::makeHostFormat(fileFormat.mSampleRate, fileFormat.mChannelsPerFrame, bits));
    int last = 0;
    const void* const samples = file->readSamples(0, 0, &last, true);
    const int count = frames * static_cast<int>(fileFormat.mChannelsPerFrame);
    EXPECT_EQ(last, count - 1);
    return {static_cast<const char*>(samples), static_cast<std::size_t>(count) * bits / 8};
}

std::string asDelivered(const WrittenFormat& format, const std::string& samples) {
    if (format.bits != 8) return samples;
    std::string wide(2 * samples.size(), '\0');
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const int value = (static_cast<unsigned char>(samples[i]) - 128) * 256;
        platform::storeHost(wide.data() + 2 * i, static_cast<std::int16_t>(value));
    }
    return wide;
}

namespace {

/// The lengths in the header of a movie are the parser's to find.
void expectTrueMovie(const std::string& path, const WrittenFormat& format, int frames) {
    const std::string contents = contentsOf(path);
    const auto sampleBytes = static_cast<std::size_t>(frames * format.bytesPerFrame());
    const std::size_t sampleOffset = contents.size() - sampleBytes;
    const marl::IFileParserRef parser = parsed(path, format.container);
    EXPECT_EQ(parser->getLengthInFrames(), frames);
    EXPECT_EQ(parser->getSampleOffset(), frames > 0 ? sampleOffset : 0);
    EXPECT_EQ(contents.substr(sampleOffset - 12, 4), "mdat");
    EXPECT_EQ(platform::loadBig64(contents.data() + sampleOffset - 8), 16 + sampleBytes);
}

}  // namespace

void expectTrueHeader(const std::string& path, const WrittenFormat& format, int frames) {
    if (format.container == Container::kQuickTime) return expectTrueMovie(path, format, frames);
    const std::string contents = contentsOf(path);
    const auto sampleBytes = static_cast<std::uint32_t>(frames * format.bytesPerFrame());
    const std::size_t sampleOffset = contents.size() - sampleBytes - sampleBytes % 2;
    EXPECT_EQ(sizeAt(contents, 4, format.container), contents.size() - 8);
    EXPECT_EQ(parsed(path, format.container)->getSampleOffset(), sampleOffset);
    if (format.container == Container::kAIFF) {
        EXPECT_EQ(sizeAt(contents, 22, format.container), static_cast<std::uint32_t>(frames));
        EXPECT_EQ(sizeAt(contents, sampleOffset - 12, format.container), sampleBytes + 8);
        EXPECT_EQ(contents.substr(sampleOffset - 8, 8), std::string(8, '\0')) << "offset, block size";
        EXPECT_EQ(sampleOffset % (format.bits == 24 ? 6 : 1), 0u);
    } else {
        EXPECT_EQ(sizeAt(contents, sampleOffset - 4, format.container), sampleBytes);
    }
}

}  // namespace support
