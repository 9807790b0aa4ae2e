// SPDX-License-Identifier: MIT
#include "support/LoopFiles.h"

namespace support {
namespace {

constexpr std::size_t kKeywordWidth = 50;

std::int64_t wholeFrames(std::size_t sampleBytes, int channels, int bitsPerChannel) {
    const int bytesPerFrame = bitsPerChannel / 8 * channels;
    return bytesPerFrame > 0 ? static_cast<std::int64_t>(sampleBytes) / bytesPerFrame : 0;
}

Bytes infoList(const WAVContents& contents) {
    Bytes body("INFO");
    for (const auto& [id, text] : contents.info)
        body.littleChunk(id, Bytes(text).zeros(1));  // RIFF texts end in a zero byte that their size counts
    return body;
}

void addTextChunks(Bytes& chunks, const AIFFContents& contents) {
    const std::pair<const char*, const std::optional<std::string>&> texts[] = {{"NAME", contents.name},
                                                                               {"AUTH", contents.author},
                                                                               {"(c) ", contents.copyright},
                                                                               {"ANNO", contents.annotation}};
    for (const auto& [id, text] : texts)
        if (text) chunks.bigChunk(id, Bytes(*text));
}

}  // namespace

Bytes commonBody(const CommonChunk& common, std::size_t sampleBytes) {
    const auto whole = wholeFrames(sampleBytes, common.channels, common.bitsPerChannel);
    return Bytes()
        .big16(common.channels)
        .big32(common.frames.value_or(whole))
        .big16(common.bitsPerChannel)
        .extended(common.sampleRate);
}

Bytes basicTaggingBody(const BasicTagging& tagging) {
    return Bytes()
        .big32(tagging.version)
        .big32(tagging.beats)
        .big16(tagging.rootNote)
        .big16(tagging.scaleType)
        .big16(tagging.numerator)
        .big16(tagging.denominator)
        .big16(tagging.fileType)
        .zeros(66);
}

Bytes categoriesBody(const Categories& categories) {
    Bytes body;
    body.big32(categories.version)
        .field(categories.instrument, kKeywordWidth)
        .field(categories.instrumentSubType, kKeywordWidth)
        .field(categories.genre, kKeywordWidth)
        .zeros(66)
        .big16(categories.claimedCount.value_or(static_cast<int>(categories.descriptors.size())));
    for (const std::string& descriptor : categories.descriptors) body.field(descriptor, kKeywordWidth);
    return body;
}

Bytes transientBody(const TransientChunk& transients) {
    Bytes body;
    body.big16(transients.version)
        .big16(transients.detectionPercentage)
        .big16(transients.forcedDivisions)
        .big64(transients.modificationDate)
        .zeros(58)
        .big32(transients.claimedCount.value_or(static_cast<std::int64_t>(transients.records.size())));
    for (const auto& [value, position] : transients.records)
        body.big16(value).zeros(2).big32(position).zeros(16);
    return body;
}

Bytes wavFormatBody(const WAVFormat& format) {
    const int bytesPerFrame = format.bitsPerChannel / 8 * format.channels;
    return Bytes()
        .little16(format.formatTag)
        .little16(format.channels)
        .little32(format.sampleRate)
        .little32(static_cast<std::uint32_t>(format.sampleRate * bytesPerFrame))
        .little16(static_cast<std::uint16_t>(bytesPerFrame))
        .little16(format.bitsPerChannel);
}

Bytes acidBody(const AcidChunk& acid) {
    return Bytes()
        .little32(acid.flags)
        .little16(acid.rootNote)
        .zeros(6)
        .little32(acid.beats)
        .little16(acid.denominator)
        .little16(acid.numerator)
        .littleFloat(acid.tempo);
}

Bytes stretchBody(const StretchChunk& stretch) {
    Bytes body;
    body.zeros(20).little32(stretch.detectionPercentage).little32(stretch.divisionCode);
    for (const std::int64_t position : stretch.positions) body.zeros(8).little32(position).zeros(20);
    return body;
}

Bytes aiffFile(const AIFFContents& contents) {
    Bytes form(contents.formType);
    const std::size_t sampleBytes = contents.samples ? contents.samples->size() : 0;
    if (contents.common) form.bigChunk("COMM", commonBody(*contents.common, sampleBytes));
    if (contents.basicTagging) form.bigChunk("basc", basicTaggingBody(*contents.basicTagging));
    if (contents.categories) form.bigChunk("cate", categoriesBody(*contents.categories));
    if (contents.transients) form.bigChunk("trns", transientBody(*contents.transients));
    addTextChunks(form, contents);
    if (contents.midi) form.bigChunk("MIDI", *contents.midi);
    form.append(contents.chunksBeforeSamples);
    if (contents.samples) form.bigChunk("SSND", Bytes().zeros(8).append(*contents.samples));
    form.append(contents.chunksAfterSamples);
    return Bytes().bigChunk("FORM", form);
}

Bytes wavFile(const WAVContents& contents) {
    Bytes riff(contents.formType);
    if (contents.format) riff.littleChunk("fmt ", wavFormatBody(*contents.format));
    if (contents.acid) riff.littleChunk("acid", acidBody(*contents.acid));
    if (contents.stretch) riff.littleChunk("strc", stretchBody(*contents.stretch));
    if (!contents.info.empty()) riff.littleChunk("LIST", infoList(contents));
    riff.append(contents.chunksBeforeSamples);
    if (contents.samples) riff.littleChunk("data", *contents.samples);
    riff.append(contents.chunksAfterSamples);
    return Bytes().littleChunk("RIFF", riff);
}

}  // namespace support
