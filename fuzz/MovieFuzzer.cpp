// SPDX-License-Identifier: MIT
#include "MemoryFile.h"

#include <MarlCore/Files/parsing/CQTFileParser.h>
#include <MarlCore/Files/streaming/CQTDiskFileData.h>
#include <MarlCore/MediaManager/CMovieInstance.h>

#include <algorithm>
#include <array>

namespace {

/// Longer sound says nothing new, and takes long: silence of an hour fits a file of a thousand bytes.
constexpr int kMostSamples = 1 << 15;

void readSamples(marl::IFileData& data, std::uint32_t channels) {
    int frames = 0;
    data.getSampleConversion(nullptr, &frames, nullptr, nullptr);
    const int samples = frames * static_cast<int>(channels);
    unsigned sum = 0;
    for (int first = 0; first < samples;) {
        int last = first;
        // 0, 0 would ask for the whole stream.
        const void* const block = data.readSamples(first, samples, &last, true);
        fuzz::require(block && last >= first && last < samples, "a block lies in the stream");
        sum += *static_cast<const unsigned char*>(block);
        first = last + 1;
    }
    asm volatile("" : : "r"(sum));
}

void convertTo(marl::IFileData& data, const marl::IFileParser& parser, std::uint32_t bits) {
    marl::IFileParser::FormatInfo format;
    parser.getFormatInfo(format);
    const auto frames = static_cast<int>(
        std::min<long long>(parser.getLengthInFrames(), kMostSamples / format.mChannelsPerFrame));
    const std::uint32_t channels = format.mChannelsPerFrame == 1 ? 2 : format.mChannelsPerFrame;
    try {
        data.setSampleConversion(format, frames, parser.getSampleOffset(),
                                 platform::makeHostFormat(format.mSampleRate, channels, bits));
        readSamples(data, channels);
    } catch (const halyard::CParamException&) {
        // Refused: fine.
    }
}

void parseAndRead(marl::IFileData& data, marl::IFileParser& parser) {
    parser.parse(marl::IFileParser::kParseAll);
    fuzz::require(parser.getSampleLengthInBytes() >= 0, "a length is not negative");
    for (const auto& transient : parser.getTransients())
        fuzz::require(transient.position <= parser.getLengthInFrames(), "slice points lie in the loop");
    // One width a file, so that a run stays short: which one is up to its length.
    constexpr std::array kWidths{16u, 24u, 32u};
    convertTo(data, parser, kWidths[static_cast<std::size_t>(data.getFileLength()) % kWidths.size()]);
}

void openMovie(const CURLRef& url) {
    const marl::CMovieInstanceRef movie(new marl::CMovieInstance(url, true, 0));
    const auto middle = static_cast<std::int64_t>(movie->duration() / 2);
    fuzz::require(!movie->timeCodeAt(middle).text().empty(), "a frame has a code");
    movie->timeValueOf(movie->timeCodeAt(middle));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const fuzz::MemoryFile file;
    file.assign(bytes, size);
    const CURLRef url(new CURL(halyard::CSTR(file.path()), CURL::kPOSIXPathStyle, false));
    const marl::IFileDataRef data(new marl::CQTDiskFileData(url, false, true));
    const marl::IFileParserRef parser(new marl::CQTFileParser(data));
    try {
        openMovie(url);
    } catch (const halyard::CParamException&) {
        // Refused: fine.
    }
    try {
        parseAndRead(*data, *parser);
        fuzz::require(parser->verifyFile() == (parser->getLengthInFrames() > 0), "what parses verifies");
    } catch (const halyard::CParamException&) {
        // Refused: fine.
    }
    return 0;
}
