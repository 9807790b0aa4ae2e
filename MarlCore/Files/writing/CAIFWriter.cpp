// SPDX-License-Identifier: MIT
#include <MarlCore/Files/writing/CAIFWriter.h>

#include <MarlCore/Files/parsing/ChunkIDs.h>
#include <MarlCore/Files/writing/ChunkBuilderImpl.h>
#include <MarlCore/Files/writing/MetadataImpl.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;

namespace {

// Where the lengths lie. 'COMM' is the first chunk, 'SSND' the last.
constexpr std::size_t kFormSizeAt = 4;
constexpr std::size_t kFrameCountAt = 22;
constexpr std::size_t kFrontSize = 26;
constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::size_t kSoundDataFieldsSize = 8;  // offset and block size
constexpr std::size_t kSoundDataHeadSize = kChunkHeaderSize + kSoundDataFieldsSize;

/// Where samples of 24 bits begin: readers of loops look for them at a multiple of 6 bytes only.
constexpr std::size_t kAlignmentOf24Bits = 6;

constexpr std::size_t kMostTextBytes = 65536;  // readers of loops take no more
constexpr std::size_t kMostDescriptors = 32767;
constexpr std::size_t kCategoryUnreadSize = 66;

ChunkBuilder bigEndian() {
    return ChunkBuilder(std::endian::big);
}

void requireWritable(const IFileParser::FormatInfo& format) {
    IFileData::requireUsableFormat(format);
    if (format.mBitsPerChannel != 16 && format.mBitsPerChannel != 24)
        throw CParamException(kParameterError, "AIFF files are written with 16 or 24 bits (not %u)",
                              format.mBitsPerChannel);
    if (format.mChannelsPerFrame > static_cast<unsigned>(std::numeric_limits<std::int16_t>::max()))
        throw CParamException(kParameterError, "AIFF files are written with at most 32767 channels (not %u)",
                              format.mChannelsPerFrame);
}

/// `value` (finite and positive) as the 80-bit number of IEEE 754-1985, exactly: sign and exponent in 16
/// bits, biased by 16383, then 64 bits of mantissa, whose highest stands for 1.
void addExtended(ChunkBuilder& chunk, double value) {
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);  // 0.5 to 1
    const auto mantissa = static_cast<std::uint64_t>(std::ldexp(fraction, 64));
    chunk.add16(static_cast<std::uint16_t>(exponent - 1 + 16383));
    chunk.add32(static_cast<std::uint32_t>(mantissa >> 32)).add32(static_cast<std::uint32_t>(mantissa));
}

ChunkBuilder commonBody(const IFileParser::FormatInfo& format) {
    ChunkBuilder body = bigEndian();
    body.add16(static_cast<std::uint16_t>(format.mChannelsPerFrame)).add32(0);
    body.add16(static_cast<std::uint16_t>(format.mBitsPerChannel));
    addExtended(body, format.mSampleRate);
    return body;
}

/// The beats of a one-shot are those that its source stated: the parser's own were derived from the length,
/// as every reader will do again.
ChunkBuilder basicTaggingBody(const IFileParser& parser) {
    tagging::BasicTaggingChunk tagging = parser.getBasicTaggingChunk();
    tagging.version = tagging::kTaggingVersion;
    if (isOneShot(parser)) tagging.numberOfBeats = parser.getSourceFileNumberOfBeats();
    ChunkBuilder body = bigEndian();
    tagging::encodeBasicTagging(tagging, body.addSpace(sizeof tagging));
    return body;
}

bool hasSearchTags(const IFileParser& parser) {
    return parser.getInstrument() != tagging::Instrument() || parser.getGenre() != tagging::Genre() ||
           !parser.getDescriptors().empty();
}

ChunkBuilder categoryBody(const IFileParser& parser) {
    constexpr std::size_t kWidth = tagging::Keyword::kSize;
    const std::vector<tagging::Descriptor>& descriptors = parser.getDescriptors();
    const std::size_t count = std::min(descriptors.size(), kMostDescriptors);
    ChunkBuilder body = bigEndian();
    body.add32(tagging::kTaggingVersion);
    body.addField(parser.getInstrument().type.view(), kWidth);
    body.addField(parser.getInstrument().subType.view(), kWidth);
    body.addField(parser.getGenre().view(), kWidth);
    body.addZeros(kCategoryUnreadSize).add16(static_cast<std::uint16_t>(count));
    for (std::size_t i = 0; i < count; ++i) body.addField(descriptors[i].view(), kWidth);
    return body;
}

/// Without a modification date: the writing itself changes the file's.
ChunkBuilder transientsBody(const IFileParser& parser,
                            const std::vector<tagging::TransientStruct>& transients) {
    tagging::TransientsChunk head;
    head.version = tagging::kTaggingVersion;
    head.detectionPercentage = static_cast<std::int16_t>(
        std::clamp<int>(parser.getTransientDetectionPercentage(), std::numeric_limits<std::int16_t>::min(),
                        std::numeric_limits<std::int16_t>::max()));
    head.forcedDivisions = static_cast<std::int16_t>(parser.getForceDivisionsAt());
    head.count = static_cast<std::int32_t>(transients.size());
    ChunkBuilder body = bigEndian();
    tagging::encodeTransientsHead(head, body.addSpace(tagging::TransientsChunk::kHeadSize));
    for (const tagging::TransientStruct& transient : transients)
        tagging::encodeTransient(transient, body.addSpace(tagging::TransientsChunk::kRecordSize));
    return body;
}

void addTexts(ChunkBuilder& file, const IFileParser::FileInfo& info) {
    const std::pair<const std::string&, const CStringRef&> texts[] = {
        {kAIFFNameDataChunkID, info.name},
        {kAIFFAuthorDataChunkID, info.author},
        {kAIFFCopyrightDataChunkID, info.copyright},
        {kAIFFAnnotationDataChunkID, info.annotation}};
    for (const auto& [id, text] : texts) {
        const auto characters = textToWrite(text, kMostTextBytes);
        if (characters) file.addChunk(id, bigEndian().addText(*characters));
    }
}

void addMetadata(ChunkBuilder& file, const IFileParser& parser) {
    if (hasBasicTagging(parser)) file.addChunk(kAIFFBasicTaggingChunkID, basicTaggingBody(parser));
    if (hasSearchTags(parser)) file.addChunk(kAIFFCategoryChunkID, categoryBody(parser));
    const auto transients = transientsToWrite(parser);
    if (!transients.empty()) file.addChunk(kAIFFTransientsChunkID, transientsBody(parser, transients));
    addTexts(file, parser.getFileInfo());
}

/// A chunk that readers step over, where one is needed for the samples to begin at their multiple.
void addFiller(ChunkBuilder& file) {
    if ((file.size() + kSoundDataHeadSize) % kAlignmentOf24Bits == 0) return;
    const std::size_t past = (file.size() + kChunkHeaderSize + kSoundDataHeadSize) % kAlignmentOf24Bits;
    file.addChunk(kAIFFFillerChunkID, bigEndian().addZeros((kAlignmentOf24Bits - past) % kAlignmentOf24Bits));
}

void stateLengths(std::span<std::byte> head, std::uint32_t sampleBytes, std::uint32_t frames) {
    const auto headSize = static_cast<std::uint32_t>(head.size());
    platform::storeBig32(head.data() + kFormSizeAt, headSize - static_cast<std::uint32_t>(kChunkHeaderSize) +
                                                        sampleBytes + sampleBytes % 2);
    platform::storeBig32(head.data() + kFrameCountAt, frames);
    platform::storeBig32(head.data() + head.size() - kSoundDataHeadSize + 4,
                         sampleBytes + static_cast<std::uint32_t>(kSoundDataFieldsSize));
}

std::vector<std::byte> headOf(const IFileParser& parser, const IFileParser::FormatInfo& format) {
    ChunkBuilder file = bigEndian();
    file.addText(kAIFFFormChunkID).add32(0).addText(kAIFFFormat);
    file.addChunk(kAIFFCommonChunkID, commonBody(format));
    addMetadata(file, parser);
    if (format.mBitsPerChannel == 24) addFiller(file);
    file.addChunk(kAIFFSoundDataChunkID, bigEndian().addZeros(kSoundDataFieldsSize));
    std::vector<std::byte> head = file.bytes();
    stateLengths(head, 0, 0);
    return head;
}

}  // namespace

CAIFWriter::CAIFWriter(const halyard::CStringRef& path, const IFileParserRef& parser, bool overwrite)
    : CSampleFileWriter(path, layoutFor(parser), overwrite) {}

CSampleFileWriter::Layout CAIFWriter::layoutFor(const IFileParserRef& parser) {
    halyard::throwIfNull(parser, "parser");
    IFileParser::FormatInfo format;
    parser->getFormatInfo(format);
    requireWritable(format);
    Layout layout;
    layout.head = headOf(*parser, format);
    layout.frontSize = kFrontSize;
    layout.sampleSizeAt = layout.head.size() - kSoundDataHeadSize + 4;
    layout.channels = format.mChannelsPerFrame;
    layout.bytesPerSample = format.mBitsPerChannel / 8;
    layout.order = std::endian::big;
    return layout;
}

void CAIFWriter::stateLength(std::span<std::byte> head, std::int64_t sampleBytes) const {
    const auto bytes = static_cast<std::uint32_t>(sampleBytes);
    stateLengths(head, bytes, bytes / static_cast<std::uint32_t>(bytesPerFrame()));
}

}  // namespace marl
