// SPDX-License-Identifier: MIT
#include "marl/InfoJSON.h"

#include <MarlCore/Files/parsing/CAIFFileParser.h>
#include <MarlCore/Files/parsing/CQTFileParser.h>

#include <array>

namespace marl::tool {
namespace {

json keywordOrNull(const tagging::Keyword& keyword) {
    const std::string text = keywordText(keyword);
    return text.empty() ? json(nullptr) : json(text);
}

json numberOrNull(std::optional<double> number) {
    return number ? json(*number) : json(nullptr);
}

void putFormat(json& info, const LoopFile& loop) {
    const IFileParser& parser = loop.parser();
    info["container"] = containerOf(loop);
    info["sampleRate"] = loop.format.mSampleRate;
    info["channels"] = loop.format.mChannelsPerFrame;
    info["bitsPerChannel"] = loop.format.mBitsPerChannel;
    info["frames"] = parser.getLengthInFrames();
    info["seconds"] = parser.getLengthInSeconds();
    info["sampleOffset"] = parser.getSampleOffset();
    info["sampleLengthInBytes"] = parser.getSampleLengthInBytes();
}

void putTagging(json& info, const LoopFile& loop) {
    const IFileParser& parser = loop.parser();
    const bool oneShot = parser.getFileType() == tagging::kFileTypeOneShot;
    const tagging::TimeSignature meter = parser.getTimeSignature();
    info["fileType"] = oneShot ? "one-shot" : "loop";
    info["streamed"] = loop.file->isDiskFileDataNeeded();
    info["numberOfBeats"] = parser.getNumberOfBeats();
    info["naturalNumberOfBeats"] = parser.getNaturalNumberOfBeats();
    info["sourceBeats"] = parser.getSourceFileNumberOfBeats();
    info["tempo"] = numberOrNull(tempoOf(parser));
    info["rootNote"] = parser.getMidiRootNote();
    info["scaleType"] = parser.getBasicTaggingChunk().scaleType;
    info["timeSignature"] = {meter.numerator, meter.denominator};
}

void putSearchTags(json& info, const IFileParser& parser) {
    info["instrument"] = keywordOrNull(parser.getInstrument().type);
    info["instrumentSubType"] = keywordOrNull(parser.getInstrument().subType);
    info["genre"] = keywordOrNull(parser.getGenre());
    info["descriptors"] = json::array();
    for (const tagging::Descriptor& descriptor : parser.getDescriptors())
        info["descriptors"].push_back(keywordText(descriptor));
}

void putTransients(json& info, const IFileParser& parser) {
    info["transients"] = json::array();
    for (const auto& transient : parser.getTransients()) info["transients"].push_back(transient.position);
    info["sourceHadTransients"] = parser.didSourceFileHaveTransients();
    info["sourceHadSearchTags"] = parser.didSourceFileHaveSearchTags();
}

void putTexts(json& info, const IFileParser& parser) {
    const IFileParser::FileInfo& texts = parser.getFileInfo();
    info["name"] = textOrNull(texts.name);
    info["author"] = textOrNull(texts.author);
    info["copyright"] = textOrNull(texts.copyright);
    info["annotation"] = textOrNull(texts.annotation);
}

}  // namespace

json infoJSON(const std::string& path, const LoopFile& loop) {
    json info;
    putPath(info, path);
    putFormat(info, loop);
    putTagging(info, loop);
    putSearchTags(info, loop.parser());
    putTransients(info, loop.parser());
    putTexts(info, loop.parser());
    info["hasMidi"] = loop.parser().hasMidiChunk();
    return info;
}

json errorJSON(const std::string& path, const std::string& message) {
    json error;
    putPath(error, path);
    error["error"] = toUTF8(message);
    return error;
}

std::optional<double> tempoOf(const IFileParser& parser) {
    const double seconds = parser.getLengthInSeconds(), quarters = parser.getLengthInQuarterNotes();
    if (parser.getFileType() == tagging::kFileTypeOneShot || !(quarters > 0) || !(seconds > 0))
        return std::nullopt;
    return quarters * 60 / seconds;
}

std::string containerOf(const LoopFile& loop) {
    const IFileParserRef& parser = loop.file->getFileParserRef();
    if (parser.dynamicCast<CQTFileParser>()) return "QuickTime";
    return parser.dynamicCast<CAIFFileParser>() ? "AIFF" : "WAV";
}

std::string noteName(int rootNote) {
    constexpr std::array kNames{"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    if (rootNote <= 0) return "-";
    return kNames[static_cast<std::size_t>(rootNote) % kNames.size()];
}

std::optional<int> pitchClassNamed(std::string_view name) {
    constexpr std::string_view kLetters = "C.D.EF.G.A.B";  // each at its pitch class
    if (name.empty() || name.size() > 2) return std::nullopt;
    const bool isSmall = name[0] >= 'a' && name[0] <= 'g';
    const std::size_t place = kLetters.find(isSmall ? static_cast<char>(name[0] - 'a' + 'A') : name[0]);
    if (name[0] == '.' || place == std::string_view::npos) return std::nullopt;
    const auto pitchClass = static_cast<int>(place);
    if (name.size() == 1) return pitchClass;
    if (name[1] == '#') return (pitchClass + 1) % 12;
    if (name[1] == 'b') return (pitchClass + 11) % 12;
    return std::nullopt;
}

std::string keywordText(const tagging::Keyword& keyword) {
    return keywordText(keyword.view());
}

std::string keywordText(std::string_view bytes) {
    const std::string text(bytes);
    const bool isUTF8 = halyard::isValidUTF8(text);
    const auto encoding = isUTF8 ? halyard::TextEncoding::kUTF8 : halyard::TextEncoding::kMacRoman;
    return halyard::CString(text.c_str(), encoding).getStringRef();
}

}  // namespace marl::tool
