// SPDX-License-Identifier: MIT
#include <MarlCore/Files/writing/CWAVWriter.h>

#include <MarlCore/Files/parsing/ChunkIDs.h>
#include <MarlCore/Files/writing/ChunkBuilderImpl.h>
#include <MarlCore/Files/writing/MetadataImpl.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;

namespace {

// Where the lengths lie. 'fmt ' is the first chunk, 'acid' the second when there is one, 'data' the last.
constexpr std::size_t kRIFFSizeAt = 4;
constexpr std::size_t kRIFFHeadSize = 12;
constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::size_t kFormatSize = 16;
constexpr std::size_t kAcidAt = kRIFFHeadSize + kChunkHeaderSize + kFormatSize;
constexpr std::size_t kTempoAt = kAcidAt + kChunkHeaderSize + 20;

constexpr std::uint16_t kLinearFormatTag = 1;
constexpr std::uint32_t kAcidOneShot = 1;
constexpr std::uint32_t kAcidRootNoteValid = 2;
constexpr std::uint32_t kMost32 = std::numeric_limits<std::uint32_t>::max();

/// Four texts of this size and their headers fit the 64 KiB of LIST/INFO that readers of loops take.
constexpr std::size_t kMostTextBytes = 16000;

ChunkBuilder littleEndian() {
    return ChunkBuilder(std::endian::little);
}

void requireWritable(const IFileParser::FormatInfo& format) {
    IFileData::requireUsableFormat(format);
    const unsigned bits = format.mBitsPerChannel;
    if (bits != 8 && bits != 16 && bits != 24)
        throw CParamException(kParameterError, "WAV files are written with 8, 16 or 24 bits (not %u)", bits);
    if (format.mChannelsPerFrame > 65535 / (bits / 8))
        throw CParamException(kParameterError, "frames of a WAV file have at most 65535 bytes (not %llu)",
                              static_cast<unsigned long long>(format.mChannelsPerFrame) * (bits / 8));
    const double rate = std::round(format.mSampleRate);
    if (!(rate >= 1 && rate <= kMost32))
        throw CParamException(kParameterError, "a WAV file cannot state a sample rate of %g Hz",
                              format.mSampleRate);
}

ChunkBuilder formatBody(const IFileParser::FormatInfo& format) {
    const double rate = std::round(format.mSampleRate);
    const std::uint32_t frameSize = format.mBitsPerChannel / 8 * format.mChannelsPerFrame;
    ChunkBuilder body = littleEndian();
    body.add16(kLinearFormatTag).add16(static_cast<std::uint16_t>(format.mChannelsPerFrame));
    body.add32(static_cast<std::uint32_t>(rate));
    body.add32(static_cast<std::uint32_t>(std::min<double>(rate * frameSize, kMost32)));
    body.add16(static_cast<std::uint16_t>(frameSize));
    return body.add16(static_cast<std::uint16_t>(format.mBitsPerChannel));
}

/// The whole quarter notes nearest to the loop's length. Half a one goes down, so that
/// `IFileParser::getNumberOfBeats` is what it was; at least 1, because 0 means an untagged file.
std::uint32_t wholeQuarterNotes(const IFileParser& parser) noexcept {
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::uint32_t>(
        std::clamp(std::ceil(parser.getLengthInQuarterNotes() - 0.5), 1.0, kMost));
}

/// The meter is for other readers, and so is the tempo, which stays 0 until there are samples.
ChunkBuilder acidBody(const IFileParser& parser) {
    const int rootNote = parser.getMidiRootNote();
    const bool hasRootNote = rootNote > 0 && rootNote <= 127;  // 0 stands for none
    const std::uint32_t flags =
        (isOneShot(parser) ? kAcidOneShot : 0) | (hasRootNote ? kAcidRootNoteValid : 0);
    const tagging::TimeSignature meter = parser.getTimeSignature();
    ChunkBuilder body = littleEndian();
    body.add32(flags).add16(static_cast<std::uint16_t>(hasRootNote ? rootNote : 0));
    body.addZeros(6).add32(wholeQuarterNotes(parser));
    body.add16(static_cast<std::uint16_t>(meter.denominator))
        .add16(static_cast<std::uint16_t>(meter.numerator));
    return body.add32(0);
}

/// The code of the division nearest by ratio; between two, the finer one.
std::uint32_t codeOfDivisions(int divisions) noexcept {
    constexpr std::uint32_t kFinest = 6;  // 64 divisions of a whole note
    std::uint32_t code = 0;
    while (code < kFinest && divisions >= std::sqrt(2.0) * (1 << code)) ++code;
    return code;
}

ChunkBuilder stretchBody(const IFileParser& parser, const std::vector<tagging::TransientStruct>& transients) {
    ChunkBuilder body = littleEndian();
    body.addZeros(4).add32(static_cast<std::uint32_t>(transients.size())).addZeros(12);
    body.add32(static_cast<std::uint32_t>(parser.getTransientDetectionPercentage()));
    body.add32(codeOfDivisions(parser.getForceDivisionsAt()));
    for (const tagging::TransientStruct& transient : transients)
        body.addZeros(8).add32(transient.position).addZeros(20);
    return body;
}

/// Each text ends in a zero byte that its size counts, as is customary in this format.
ChunkBuilder infoBody(const IFileParser::FileInfo& info) {
    const std::pair<const std::string&, const CStringRef&> texts[] = {{kINAMTag, info.name},
                                                                      {kIARTTag, info.author},
                                                                      {kICOPTag, info.copyright},
                                                                      {kICMTTag, info.annotation}};
    ChunkBuilder body = littleEndian().addText(kInfoTag);
    for (const auto& [id, text] : texts) {
        const auto characters = textToWrite(text, kMostTextBytes);
        if (characters) body.addChunk(id, littleEndian().addText(*characters).addZeros(1));
    }
    return body;
}

void addMetadata(ChunkBuilder& file, const IFileParser& parser) {
    if (hasBasicTagging(parser)) file.addChunk(kAcidTag, acidBody(parser));
    const auto transients = transientsToWrite(parser);
    if (!transients.empty()) file.addChunk(kStretchTag, stretchBody(parser, transients));
    const ChunkBuilder info = infoBody(parser.getFileInfo());
    if (info.size() > kInfoTag.size()) file.addChunk(kListTag, info);
}

void stateLengths(std::span<std::byte> head, std::uint32_t sampleBytes) {
    const auto headSize = static_cast<std::uint32_t>(head.size());
    platform::storeLittle32(
        head.data() + kRIFFSizeAt,
        headSize - static_cast<std::uint32_t>(kChunkHeaderSize) + sampleBytes + sampleBytes % 2);
    platform::storeLittle32(head.data() + head.size() - 4, sampleBytes);
}

std::vector<std::byte> headOf(const IFileParser& parser, const IFileParser::FormatInfo& format) {
    ChunkBuilder file = littleEndian();
    file.addText(kRIFFTag).add32(0).addText(kWAVETag);
    file.addChunk(kFormatTag, formatBody(format));
    addMetadata(file, parser);
    file.addChunk(kDataTag, littleEndian());
    std::vector<std::byte> head = file.bytes();
    stateLengths(head, 0);
    return head;
}

}  // namespace

CWAVWriter::CWAVWriter(const halyard::CStringRef& path, const IFileParserRef& parser, bool overwrite)
    : CSampleFileWriter(path, layoutFor(parser), overwrite) {
    if (!hasBasicTagging(*parser) || isOneShot(*parser)) return;
    IFileParser::FormatInfo format;
    parser->getFormatInfo(format);
    m_quarterNotes = parser->getLengthInQuarterNotes();
    m_framesPerMinute = 60 * format.mSampleRate;
}

CSampleFileWriter::Layout CWAVWriter::layoutFor(const IFileParserRef& parser) {
    halyard::throwIfNull(parser, "parser");
    IFileParser::FormatInfo format;
    parser->getFormatInfo(format);
    requireWritable(format);
    Layout layout;
    layout.head = headOf(*parser, format);
    layout.frontSize = hasBasicTagging(*parser) ? kTempoAt + sizeof(float) : kRIFFSizeAt + 4;
    layout.sampleSizeAt = layout.head.size() - 4;
    layout.channels = format.mChannelsPerFrame;
    layout.bytesPerSample = format.mBitsPerChannel / 8;
    layout.order = std::endian::little;
    layout.silence = std::byte{format.mBitsPerChannel == 8 ? std::uint8_t{0x80} : std::uint8_t{0}};
    return layout;
}

void CWAVWriter::stateLength(std::span<std::byte> head, std::int64_t sampleBytes) const {
    stateLengths(head, static_cast<std::uint32_t>(sampleBytes));
    if (m_quarterNotes == 0 || sampleBytes == 0) return;
    const double frames = static_cast<double>(sampleBytes) / static_cast<double>(bytesPerFrame());
    const auto tempo = static_cast<float>(m_quarterNotes * m_framesPerMinute / frames);
    platform::storeLittle32(head.data() + kTempoAt, std::bit_cast<std::uint32_t>(tempo));
}

}  // namespace marl
