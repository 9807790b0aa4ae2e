// SPDX-License-Identifier: MIT
#include "LoopFileTarget.h"

#include "MemoryFile.h"

#include <MarlCore/Files/CMemoryFileData.h>

#include <array>

namespace fuzz {
namespace {

void readAllSamples(marl::IFileData& data, std::uint32_t channels) {
    int frames = 0;
    data.getSampleConversion(nullptr, &frames, nullptr, nullptr);
    int last = -1;
    const auto* const samples = static_cast<const unsigned char*>(data.readSamples(0, 0, &last, true));
    require(last + 1 == frames * static_cast<int>(channels) || !samples, "the whole stream is there");
    // Touches the first and the last sample, so that the sanitizers see where they lie.
    unsigned sum = 0;
    if (samples) sum += samples[0];
    if (samples) sum += *static_cast<const unsigned char*>(data.readSamples(last, last + 1, &last, true));
    asm volatile("" : : "r"(sum));
}

void convertTo(marl::IFileData& data, const marl::IFileParser& parser, std::uint32_t bits) {
    marl::IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    const std::uint32_t channels = format.mChannelsPerFrame == 1 && bits != 24 ? 2 : format.mChannelsPerFrame;
    try {
        data.setSampleConversion(format, static_cast<int>(parser.getLengthInFrames()),
                                 parser.getSampleOffset(),
                                 platform::makeHostFormat(format.mSampleRate, channels, bits));
        readAllSamples(data, channels);
    } catch (const halyard::CParamException&) {
    } catch (const halyard::CException& exception) {
        require(exception.getType() == halyard::kParameterError, exception.what());
    }
}

void checkPicture(const marl::IFileParser& parser, long long fileLength) {
    require(parser.getSampleLengthInBytes() >= 0, "a length is not negative");
    require(
        parser.getSampleLengthInBytes() == 0 ||
            parser.getSampleOffset() + static_cast<long long>(parser.getSampleLengthInBytes()) <= fileLength,
        "the samples lie in the file");
    require(parser.getTransients().size() <= marl::IFileParser::kMaximumTransients + 1,
            "slice points are bounded");
    for (const auto& transient : parser.getTransients())
        require(transient.position <= parser.getLengthInFrames(), "slice points lie in the loop");
    parser.getNumberOfBeats();
}

void parseAndRead(marl::IFileData& data, marl::IFileParser& parser) {
    parser.parse(marl::IFileParser::kParseAll);
    checkPicture(parser, data.getFileLength());
    // One width a file, so that a run stays short: which one is up to its length.
    constexpr std::array kWidths{16u, 24u, 32u};
    convertTo(data, parser, kWidths[static_cast<std::size_t>(data.getFileLength()) % kWidths.size()]);
}

}  // namespace

void runLoopFile(const std::uint8_t* bytes, std::size_t size, bool bigEndian, ParserMaker makeParser) {
    static const MemoryFile file;
    file.assign(bytes, size);
    const CURLRef url(new CURL(halyard::CSTR(file.path()), CURL::kPOSIXPathStyle, false));
    const marl::IFileDataRef data(new marl::CMemoryFileData(url, false, bigEndian));
    const marl::IFileParserRef parser = makeParser(data);
    try {
        parseAndRead(*data, *parser);
        require(parser->verifyFile() == (parser->getLengthInFrames() > 0), "what parses verifies");
    } catch (const halyard::CParamException&) {
        // Refused: fine.
    }
}

}  // namespace fuzz
