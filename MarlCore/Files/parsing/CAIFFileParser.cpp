// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/CAIFFileParser.h>

#include <MarlCore/Files/parsing/ChunkIDs.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;

namespace {

constexpr int kMostBits = 24;
constexpr std::size_t kCommonChunkSize = 18;
constexpr long long kSoundDataHeadSize = 8;  // offset and block size, neither of which is interpreted

constexpr std::size_t kCategoryGenreAt = 104;
constexpr std::size_t kCategoryFixedSize = 154;  // up to and including the genre
constexpr std::size_t kCategoryCountAt = 220;
constexpr std::size_t kCategoryDescriptorsAt = 222;

// Bounds on what is read of one metadata chunk; real ones are a few KiB.
constexpr long long kMostTextBytes = 65536;
constexpr long long kMostCategoryBytes = kCategoryDescriptorsAt + 32767 * tagging::Keyword::kSize;
constexpr long long kMostTransientsBytes =
    tagging::TransientsChunk::kHeadSize +
    IFileParser::kMaximumTransients * tagging::TransientsChunk::kRecordSize;

tagging::Keyword keywordAt(const CBufferRef& chunk, std::size_t offset) {
    return tagging::Keyword(std::string_view(chunk->getCharPtr() + offset, tagging::Keyword::kSize));
}

std::vector<tagging::Descriptor> descriptorsOf(const CBufferRef& chunk) {
    std::vector<tagging::Descriptor> descriptors;
    if (chunk->getSize() < kCategoryDescriptorsAt) return descriptors;
    const auto stated = static_cast<std::int16_t>(platform::loadBig16(chunk->getPtr() + kCategoryCountAt));
    const std::size_t there = (chunk->getSize() - kCategoryDescriptorsAt) / tagging::Keyword::kSize;
    const std::size_t count = std::min(there, static_cast<std::size_t>(std::max<int>(stated, 0)));
    for (std::size_t i = 0; i < count; ++i)
        descriptors.push_back(keywordAt(chunk, kCategoryDescriptorsAt + i * tagging::Keyword::kSize));
    return descriptors;
}

/// The records of a 'trns' chunk that rise strictly, or nothing when the chunk cannot be used: fewer than two
/// records, fewer than it states, or one beyond the `frames` of the file.
std::vector<tagging::TransientStruct> risingTransients(const CBufferRef& chunk, int count,
                                                       std::uint64_t frames) {
    constexpr std::size_t kHeadSize = tagging::TransientsChunk::kHeadSize;
    constexpr std::size_t kRecordSize = tagging::TransientsChunk::kRecordSize;
    std::vector<tagging::TransientStruct> transients;
    if (count < 2 || static_cast<std::size_t>(count) > (chunk->getSize() - kHeadSize) / kRecordSize)
        return {};
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const auto transient = tagging::decodeTransient(chunk->getPtr() + kHeadSize + i * kRecordSize);
        if (transient.position > frames) return {};
        if (transients.empty() || transient.position > transients.back().position)
            transients.push_back(transient);
    }
    return transients;
}

}  // namespace

long long CAIFFileParser::findHeaderAndReturnOffset() {
    fileData().rewindToStart();
    if (findTag(kAIFFFormChunkID) < 0)
        throw CParamException(kParameterError, "couldn't find FORM master chunk");
    const std::string formType = fileData().read4Char();
    if (formType != kAIFFFormat)
        throw CParamException(kParameterError, "the format tag is '%s', not AIFF!", formType.c_str());
    return fileData().currentMark();
}

void CAIFFileParser::findFormatInfo() {
    const long long size = findTagFromStart(kAIFFCommonChunkID);
    if (size < 0 || bytesAvailable(size) < static_cast<long long>(kCommonChunkSize))
        throw CParamException(kParameterError, "couldn't find common chunk");
    const CBufferRef common = readChunk(size, kCommonChunkSize);
    const std::byte* const body = common->getPtr();
    const auto channels = static_cast<std::int16_t>(platform::loadBig16(body));
    const auto bits = static_cast<std::int16_t>(platform::loadBig16(body + 6));
    if (bits > kMostBits)
        throw CParamException(kParameterError, "sample size is greater than 24 bits (it is %d bits)", bits);
    // Single precision on the way: rates above 2^24 Hz lose their last bits, as they always have.
    const auto rate = static_cast<float>(extendedToULong(common->getCharPtr() + 8));
    setLinearFormat(rate, channels, bits);
    findMidiChunk();
}

unsigned long CAIFFileParser::extendedToULong(const char* extended) noexcept {
    const auto exponent = static_cast<unsigned char>(extended[1]);
    const std::uint32_t mantissa = platform::loadBig32(extended + 2);
    if (exponent >= 30) return mantissa;
    const int shift = 30 - exponent;
    const std::uint32_t lastBitOut = mantissa >> (shift - 1) & 1;
    return (mantissa >> shift) + lastBitOut;
}

void CAIFFileParser::findMidiChunk() {
    m_hasMidiChunk = findTagFromStart(kMIDIFormat) >= 0;
}

void CAIFFileParser::findSampleOffset() {
    const long long chunkSize = findTagFromStart(kAIFFSoundDataChunkID);
    if (chunkSize < 0) throw CParamException(kParameterError, "couldn't find sound data chunk tag");
    long long offset = fileData().currentMark() + kSoundDataHeadSize;
    FormatInfo format;
    getFormatInfo(format);
    // Samples of 24 bits begin at a multiple of 6 bytes, on purpose: files are written that way, and the
    // frames of those that are not are taken from the next such place on.
    constexpr long long kAlignmentOf24Bits = 6;
    if (format.mBitsPerChannel == 24 && offset % kAlignmentOf24Bits != 0)
        offset += kAlignmentOf24Bits - offset % kAlignmentOf24Bits;
    setSamplePosition(offset, chunkSize - kSoundDataHeadSize);
}

void CAIFFileParser::findBasicTaggingInfo() {
    constexpr long long kSize = sizeof(tagging::BasicTaggingChunk);
    const CBufferRef body = readChunk(findTagFromStart(kAIFFBasicTaggingChunkID), kSize);
    if (body->getSize() < kSize) return deriveBasicTagging();
    tagging::BasicTaggingChunk chunk = tagging::decodeBasicTagging(body->getPtr());
    if (chunk.version != tagging::kTaggingVersion) return deriveBasicTagging();
    if (chunk.rootNote == -1) chunk.rootNote = 0;
    setBasicTaggingChunk(chunk);
    setSourceFileNumberOfBeats(chunk.numberOfBeats);
    if (chunk.fileType == tagging::kFileTypeOneShot) {
        deriveNumberOfBeatsAndRootNote(0.0);
        setMidiRootNote(chunk.rootNote);
    }
}

void CAIFFileParser::findFileInfo() {
    m_fileInfo.name = textChunkToString(kAIFFNameDataChunkID);
    m_fileInfo.author = textChunkToString(kAIFFAuthorDataChunkID);
    m_fileInfo.copyright = textChunkToString(kAIFFCopyrightDataChunkID);
    m_fileInfo.annotation = textChunkToString(kAIFFAnnotationDataChunkID);
}

CStringRef CAIFFileParser::textChunkToString(const std::string& tag) {
    const long long size = findTagFromStart(tag);
    if (size < 0) return {};
    const CBufferRef chunk = readChunk(size, kMostTextBytes);
    return textFromBytes({chunk->getCharPtr(), chunk->getSize()}, halyard::TextEncoding::kMacRoman);
}

void CAIFFileParser::findSearchInfo() {
    const CBufferRef chunk = readChunk(findTagFromStart(kAIFFCategoryChunkID), kMostCategoryBytes);
    if (chunk->getSize() < kCategoryFixedSize) return;
    if (platform::loadBig32(chunk->getPtr()) != tagging::kTaggingVersion) return;
    setInstrument({keywordAt(chunk, 4), keywordAt(chunk, 54)});
    setGenre(keywordAt(chunk, kCategoryGenreAt));
    setDescriptors(descriptorsOf(chunk));
    sourceFileHasSearchTags(true);
}

void CAIFFileParser::lookForTransients() {
    sourceFileHasTransients(findTagFromStart(kAIFFTransientsChunkID) >= 0);
}

void CAIFFileParser::findTransients() {
    parse(kBasicTaggingInfo);  // one-shots take no slice points, and a grid needs the beats
    if (getFileType() == tagging::kFileTypeOneShot) return m_transients.clear();
    const bool read = readTransients();
    sourceFileHasTransients(read);
    if (!read) deriveTransients();
}

/// Takes the settings of the 'trns' chunk and its slice points; false when these cannot be used.
bool CAIFFileParser::readTransients() {
    const CBufferRef chunk = readChunk(findTagFromStart(kAIFFTransientsChunkID), kMostTransientsBytes);
    if (chunk->getSize() < tagging::TransientsChunk::kHeadSize) return false;
    const tagging::TransientsChunk head = tagging::decodeTransientsHead(chunk->getPtr());
    if (head.version != tagging::kTaggingVersion) return false;
    setTransientDetectionPercentage(head.detectionPercentage);
    setForceDivisionsAt(head.forcedDivisions);
    if (!validateModificationDate(&head)) return false;
    FormatInfo format;
    getFormatInfo(format);
    if (format.mBytesPerFrame == 0) return false;  // a host may have set any format
    const auto frames =
        static_cast<std::uint64_t>(getSRConvertedSampleLengthInBytes()) / format.mBytesPerFrame;
    m_transients = risingTransients(chunk, head.count, frames);
    return !m_transients.empty();
}

bool CAIFFileParser::validateModificationDate(const tagging::TransientsChunk* chunk) const {
    return chunk->modificationDate == 0 || chunk->modificationDate == fileData().getFileModificationDate();
}

}  // namespace marl
