// SPDX-License-Identifier: MIT
#include "support/ParsedFile.h"

#include "support/OpenedFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {
namespace {

std::optional<std::string> textOf(const halyard::CStringRef& text) {
    if (!text) return std::nullopt;
    return text->getStringRef();
}

std::vector<float> samplesOf(marl::IFile& file) {
    marl::IFileParser& parser = *file.getFileParserRef();
    marl::IFileData& data = *file.getFileDataRef();
    marl::IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    data.setSampleConversion(format, static_cast<int>(parser.getLengthInFrames()), parser.getSampleOffset(),
                             platform::makeHostFormat(format.mSampleRate, format.mChannelsPerFrame, 32));
    int last = -1;
    const auto* const samples = static_cast<const float*>(data.readSamples(0, 0, &last, true));
    if (!samples) return {};
    return {samples, samples + last + 1};
}

Picture pictureOf(marl::IFile& file) {
    marl::IFileParser& parser = *file.getFileParserRef();
    parser.parse(marl::IFileParser::kParseAll);
    marl::IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    const marl::IFileParser::FileInfo& texts = parser.getFileInfo();
    return {.sampleRate = format.mSampleRate,
            .channels = format.mChannelsPerFrame,
            .bitsPerChannel = format.mBitsPerChannel,
            .sampleOffset = parser.getSampleOffset(),
            .sampleLengthInBytes = parser.getSampleLengthInBytes(),
            .frames = parser.getLengthInFrames(),
            .tagging = parser.getBasicTaggingChunk(),
            .sourceBeats = parser.getSourceFileNumberOfBeats(),
            .instrument = parser.getInstrument(),
            .genre = parser.getGenre(),
            .descriptors = parser.getDescriptors(),
            .texts = {textOf(texts.name), textOf(texts.author), textOf(texts.copyright),
                      textOf(texts.annotation)},
            .transients = transientPositions(parser),
            .samples = samplesOf(file)};
}

void expectConsistent(const Picture& picture, long long fileLength) {
    EXPECT_GE(picture.sampleLengthInBytes, 0);
    if (picture.sampleLengthInBytes > 0) {
        EXPECT_LE(static_cast<long long>(picture.sampleOffset) + picture.sampleLengthInBytes, fileLength);
    }
    EXPECT_EQ(picture.samples.size(), static_cast<std::size_t>(picture.frames) * picture.channels);
    EXPECT_TRUE(std::ranges::all_of(picture.samples, [](float sample) { return std::abs(sample) <= 1; }));
    EXPECT_TRUE(std::ranges::is_sorted(picture.transients));
    if (!picture.transients.empty()) {
        EXPECT_LE(picture.transients.back(), picture.frames);
    }
}

}  // namespace

ParsedFile parseFile(const std::string& path) {
    const marl::IFileRef file(marl::IFile::New(urlOf(path), false));
    ParsedFile parsed;
    try {
        parsed.picture = pictureOf(*file);
        expectConsistent(*parsed.picture, file->getFileDataRef()->getFileLength());
    } catch (const halyard::CParamException& exception) {
        parsed.refusal = exception.getMessage();
    }
    const bool sound = parsed.picture && parsed.picture->frames > 0;
    EXPECT_EQ(file->getFileParserRef()->verifyFile(), sound);
    return parsed;
}

bool isRefusalOfAParser(const std::string& message) {
    static constexpr const char* kBeginnings[] = {"couldn't find FORM master chunk",
                                                  "the format tag is '",
                                                  "couldn't find common chunk",
                                                  "couldn't find sound data chunk tag",
                                                  "couldn't find RIFF tag",
                                                  "WAVE is not in the RIFF tag!",
                                                  "couldn't find format tag",
                                                  "couldn't find data tag",
                                                  "unsupported WAV format (the '",
                                                  "sample size is greater than 24 bits (it is ",
                                                  "sample size is less than 8 bits (",
                                                  "sample size is not a whole number of bytes (it is ",
                                                  "the sample format has no channels",
                                                  "the sample format has no sample rate",
                                                  "the sound data begins beyond 4 GiB "};
    return std::ranges::any_of(kBeginnings,
                               [&](const char* beginning) { return message.starts_with(beginning); });
}

Bytes seedFile(const std::string& name) {
    const std::filesystem::path path = std::filesystem::path(MARL_CORPUS_FOLDER) / name;
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("no seed at " + path.string());
    return Bytes(std::string{std::istreambuf_iterator<char>(file), {}});
}

std::string extensionOf(const std::string& name) {
    return std::filesystem::path(name).extension().string();
}

}  // namespace support
