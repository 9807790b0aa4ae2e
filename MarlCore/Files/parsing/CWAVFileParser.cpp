// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/CWAVFileParser.h>

#include <MarlCore/Files/parsing/ChunkIDs.h>
#include <MarlCore/platform/ByteOrder.h>

#include <array>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;
using platform::loadLittle16;
using platform::loadLittle32;

namespace {

constexpr int kLinearFormatTag = 1;
constexpr int kFewestBits = 8;
constexpr int kMostBits = 24;
constexpr std::size_t kFormatChunkSize = 16;

constexpr std::size_t kAcidChunkSize = 16;  // up to and including the beats, the last field that is read
constexpr std::uint32_t kAcidOneShot = 1;
constexpr std::uint32_t kAcidRootNoteValid = 2;

constexpr std::size_t kStretchPercentageAt = 20;
constexpr std::size_t kStretchDivisionsAt = 24;
constexpr std::size_t kStretchHeadSize = 28;
constexpr std::size_t kStretchRecordSize = 32;
constexpr std::size_t kStretchPositionAt = 8;  // within a record

// Bounds on what is read of one metadata chunk; real ones are a few KiB.
constexpr long long kMostStretchBytes =
    kStretchHeadSize + IFileParser::kMaximumTransients * kStretchRecordSize;
constexpr long long kMostListBytes = 65536;

/// Divisions of a whole note by the code that 'strc' carries; codes beyond the table, and 3, are 8.
int divisionsOfCode(std::uint32_t code) noexcept {
    constexpr std::array<int, 7> kDivisions{1, 2, 4, 8, 16, 32, 64};
    return code < kDivisions.size() ? kDivisions[code] : 8;
}

/// The positions of a 'strc' chunk that states `statedSize` bytes; empty when a record lies outside of what
/// the file holds of it, or beyond the `frames` of the file.
std::vector<std::uint32_t> stretchPositions(const CBufferRef& chunk, long long statedSize, long long frames) {
    std::vector<std::uint32_t> positions;
    const auto records = (static_cast<std::size_t>(statedSize) - kStretchHeadSize) / kStretchRecordSize;
    if (records > (chunk->getSize() - kStretchHeadSize) / kStretchRecordSize) return {};
    for (std::size_t i = 0; i < records; ++i) {
        const std::size_t record = kStretchHeadSize + i * kStretchRecordSize;
        const std::uint32_t position = loadLittle32(chunk->getPtr() + record + kStretchPositionAt);
        if (position > static_cast<unsigned long long>(frames)) return {};
        positions.push_back(position);
    }
    return positions;
}

/// From the last record at frame 0 on (the first when none is there), up to the first that goes back.
std::vector<tagging::TransientStruct> lastRun(const std::vector<std::uint32_t>& positions) {
    std::size_t first = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (positions[i] == 0) first = i;
    }
    std::vector<tagging::TransientStruct> transients;
    for (std::size_t i = first; i < positions.size(); ++i) {
        if (i > first && positions[i] < positions[i - 1]) break;
        transients.emplace_back().position = positions[i];
    }
    return transients;
}

}  // namespace

long long CWAVFileParser::findHeaderAndReturnOffset() {
    fileData().rewindToStart();
    if (findTag(kRIFFTag) < 0) throw CParamException(kParameterError, "couldn't find RIFF tag");
    if (fileData().read4Char() != kWAVETag)
        throw CParamException(kParameterError, "WAVE is not in the RIFF tag!");
    return fileData().currentMark();
}

void CWAVFileParser::findFormatInfo() {
    const long long size = findTagFromStart(kFormatTag);
    if (size < 0 || bytesAvailable(size) < static_cast<long long>(kFormatChunkSize))
        throw CParamException(kParameterError, "couldn't find format tag");
    const CBufferRef chunk = readChunk(size, kFormatChunkSize);
    const std::byte* const body = chunk->getPtr();
    const int formatTag = loadLittle16(body), bits = loadLittle16(body + 14);
    if (formatTag != kLinearFormatTag)
        throw CParamException(kParameterError, "unsupported WAV format (the 'alwaysOne' flag is %d)",
                              formatTag);
    if (bits > kMostBits)
        throw CParamException(kParameterError, "sample size is greater than 24 bits (it is %d bits)", bits);
    if (bits < kFewestBits)
        throw CParamException(kParameterError, "sample size is less than 8 bits (it is %d bits)", bits);
    // Single precision on the way: rates above 2^24 Hz lose their last bits, as they always have.
    setLinearFormat(static_cast<float>(loadLittle32(body + 4)), loadLittle16(body + 2), bits);
    fileData().setSamplesAreSigned(false);  // matters for 8 bits only, which are offset by 128 in this format
}

void CWAVFileParser::findSampleOffset() {
    const long long size = findTagFromStart(kDataTag);
    if (size < 0) throw CParamException(kParameterError, "couldn't find data tag");
    setSamplePosition(fileData().currentMark(), size);
}

/// Whatever meter the 'acid' chunk names, a WAV loop is reported in 4/4, on purpose: many writers leave the
/// meter unset or wrong.
void CWAVFileParser::findBasicTaggingInfo() {
    const CBufferRef acid = readChunk(findTagFromStart(kAcidTag), kAcidChunkSize);
    if (acid->getSize() < kAcidChunkSize) {
        deriveBasicTagging();
        return setTimeSignature({});
    }
    const std::uint32_t flags = loadLittle32(acid->getPtr());
    tagging::BasicTaggingChunk chunk;
    chunk.numberOfBeats = static_cast<std::int32_t>(loadLittle32(acid->getPtr() + 12));
    if (flags & kAcidOneShot) chunk.fileType = tagging::kFileTypeOneShot;
    if (flags & kAcidRootNoteValid) chunk.rootNote = static_cast<std::uint8_t>(acid->getPtr()[4]);
    if (chunk.numberOfBeats != 0) {
        setBasicTaggingChunk(chunk);
        setSourceFileNumberOfBeats(chunk.numberOfBeats);
    } else {
        setFileType(tagging::kFileTypeLoop);
        deriveBasicTagging();
        setTimeSignature({});
    }
}

void CWAVFileParser::lookForTransients() {
    sourceFileHasTransients(findTagFromStart(kStretchTag) >= 0);
}

void CWAVFileParser::findTransients() {
    parse(kBasicTaggingInfo);  // one-shots take no slice points, and a grid needs the beats
    if (getFileType() == tagging::kFileTypeOneShot) return m_transients.clear();
    const bool read = readTransients();
    sourceFileHasTransients(read);
    if (!read) deriveTransients();
}

/// Takes the settings of the 'strc' chunk and its slice points; false when these cannot be used.
bool CWAVFileParser::readTransients() {
    const long long size = findTagFromStart(kStretchTag);
    const CBufferRef stretchBuffer = readChunk(size, kMostStretchBytes);
    halyard::throwIfNull(stretchBuffer, "stretchBuffer");
    if (stretchBuffer->getSize() < kStretchHeadSize) return false;
    const std::byte* const body = stretchBuffer->getPtr();
    setTransientDetectionPercentage(static_cast<std::int32_t>(loadLittle32(body + kStretchPercentageAt)));
    setForceDivisionsAt(divisionsOfCode(loadLittle32(body + kStretchDivisionsAt)));
    m_transients = lastRun(stretchPositions(stretchBuffer, size, getLengthInFrames()));
    return !m_transients.empty();
}

void CWAVFileParser::findFileInfo() {
    const CBufferRef listTagBuffer = readInfoList();
    halyard::throwIfNull(listTagBuffer, "listTagBuffer");
    const struct {
        const std::string& tag;
        CStringRef& text;
    } entries[] = {{kINAMTag, m_fileInfo.name},
                   {kIARTTag, m_fileInfo.author},
                   {kICOPTag, m_fileInfo.copyright},
                   {kICMTTag, m_fileInfo.annotation}};
    std::string_view list(listTagBuffer->getCharPtr(), listTagBuffer->getSize());
    while (list.size() >= 8) {
        const std::string_view tag = list.substr(0, 4);
        const std::size_t size = loadLittle32(list.data() + 4);
        list.remove_prefix(8);
        for (const auto& entry : entries) {
            if (tag == entry.tag && !entry.text)
                entry.text = textFromBytes(list.substr(0, size), halyard::TextEncoding::kWindowsLatin1);
        }
        if (size >= list.size()) break;
        list.remove_prefix(size);
        if (size % 2 != 0) list.remove_prefix(1);
    }
}

/// The entries of the first LIST chunk of type INFO; empty when there is none.
CBufferRef CWAVFileParser::readInfoList() {
    for (int i = 0;; ++i) {
        const long long size = findTagFromStart(kListTag, i);
        if (size < 0) return CBufferRef(new halyard::CBuffer(0, true));
        if (size >= 4 && fileData().read4Char() == kInfoTag) return readChunk(size - 4, kMostListBytes);
    }
}

}  // namespace marl
