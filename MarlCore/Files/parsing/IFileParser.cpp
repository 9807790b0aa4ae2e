// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/IFileParser.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace marl {
namespace {

constexpr long long kChunkHeaderSize = 8;

/// More chunks than any real file has. A file of nothing but empty chunks is given up after these.
constexpr int kMaximumChunks = 4096;

constexpr double kShortestLoop = 0.5;   // seconds
constexpr double kLongestLoop = 30.0;   // seconds
constexpr double kSlowestTempo = 75.0;  // beats a minute
constexpr int kMostDerivedBeats = 256;

constexpr double kNotValid = -1.0;  // sample rate of a format that is not known

/// `value`, truncated toward zero; what does not fit becomes the nearest number that does.
int truncatedToInt(double value) noexcept {
    constexpr double kLowest = std::numeric_limits<int>::min(), kHighest = std::numeric_limits<int>::max();
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, kLowest, kHighest));
}

std::uint32_t scaledPosition(std::uint32_t position, double factor) noexcept {
    constexpr double kHighest = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::clamp(position * factor, 0.0, kHighest));
}

}  // namespace

IFileParser::IFileParser(const IFileDataRef& fileData) : m_fileData(fileData) {
    m_formatInfo.mSampleRate = kNotValid;
}

IFileParser::~IFileParser() = default;

void IFileParser::parse(unsigned short flags) {
    const auto pending = static_cast<unsigned short>(flags & ~m_parsedFlags);
    preparse();
    parseGroup(pending, kBasicTaggingInfo, &IFileParser::findBasicTaggingInfo);
    parseGroup(pending, kTransients, &IFileParser::findTransients);
    parseGroup(pending, kFileInfo, &IFileParser::findFileInfo);
    parseGroup(pending, kSearchInfo, &IFileParser::findSearchInfo);
    parseGroup(pending, kCheckForTransients, &IFileParser::lookForTransients);
    m_parsedFlags |= pending;
}

void IFileParser::parseGroup(unsigned short pending, unsigned short group, void (IFileParser::*find)()) {
    if (!(pending & group)) return;
    (this->*find)();
    m_parsedFlags |= group;
}

bool IFileParser::hasMidiChunk() {
    return false;
}

void IFileParser::preparse() {
    if (m_preparsed) return;
    m_chunks.clear();  // of a file that was refused
    m_headerOffset = findHeaderAndReturnOffset();
    findFormatInfo();
    findSampleOffset();
    m_preparsed = true;
    m_parsedFlags |= kFormatInfo | kSampleOffset;
}

void IFileParser::getFormatInfo(FormatInfo& formatInfo) const {
    if (m_formatInfo.mSampleRate == kNotValid)
        throw halyard::CParamException(halyard::kParameterError, "format info is not valid. Cannot return");
    formatInfo = m_formatInfo;
}

void IFileParser::setFormatInfo(const FormatInfo& formatInfo) {
    if (formatInfo.mSampleRate == kNotValid)
        throw halyard::CParamException(halyard::kParameterError, "new format info is not valid. Cannot set");
    m_formatInfo = formatInfo;
}

int IFileParser::getNumberOfBeats() const noexcept {
    return truncatedToInt(getLengthInQuarterNotes());
}

double IFileParser::getLengthInQuarterNotes() const noexcept {
    const int denominator = getTimeSignature().denominator;
    return getNaturalNumberOfBeats() * 4.0 / (denominator > 0 ? denominator : 4);
}

int IFileParser::getSRConvertedSampleLengthInBytes() const noexcept {
    if (m_sampleRateConversion <= 0) return m_sampleLengthInBytes;
    return truncatedToInt(m_sampleLengthInBytes * m_sampleRateConversion);
}

void IFileParser::getSRConvertedTransients(std::vector<TransientStruct>& transients) const {
    transients = calcSRConvertedTransients();
}

std::vector<IFileParser::TransientStruct> IFileParser::calcSRConvertedTransients() const {
    std::vector<TransientStruct> converted = m_transients;
    if (m_sampleRateConversion <= 0) return converted;
    for (TransientStruct& transient : converted)
        transient.position = scaledPosition(transient.position, m_sampleRateConversion);
    return converted;
}

long long IFileParser::findTag(const std::string& tag) {
    for (int i = 0; i < kMaximumChunks; ++i) {
        const std::optional<ChunkPlace> chunk = readChunkHeader();
        if (!chunk) return -1;
        if (chunk->is(tag)) return chunk->size;
        if (!stepOver(*chunk)) return -1;
    }
    return -1;
}

/// The chunk whose header is at the read position, which moves to its first data byte; nothing where the file
/// ends before.
std::optional<IFileParser::ChunkPlace> IFileParser::readChunkHeader() {
    IFileData& file = fileData();
    const long long mark = file.currentMark();
    if (file.getFileLength() - mark < kChunkHeaderSize) return std::nullopt;
    ChunkPlace chunk;
    file.readBytes(static_cast<long long>(chunk.identifier.size()), chunk.identifier.data());
    chunk.size = file.readUInt32();
    chunk.dataOffset = mark + kChunkHeaderSize;
    return chunk;
}

/// Moves from the first data byte of `chunk` to the next chunk; false when its size reaches past the end of
/// the file.
bool IFileParser::stepOver(const ChunkPlace& chunk) {
    const long long sizeWithPad =
        chunk.size + chunk.size % 2;  // a body of odd size is followed by one pad byte
    if (sizeWithPad > fileData().getFileLength() - chunk.dataOffset) return false;
    fileData().advance(sizeWithPad);
    return true;
}

void IFileParser::deriveNumberOfBeatsAndRootNote(double seconds) {
    if (seconds == 0.0) seconds = getLengthInSeconds();
    int beats = 1;
    if (seconds > 0) {
        while (beats < kMostDerivedBeats && beats * 60.0 / seconds < kSlowestTempo) beats *= 2;
    }
    setNumberOfBeats(beats);
    setMidiRootNote(0);
}

void IFileParser::determineIfOneShot() {
    const double seconds = getLengthInSeconds();
    if (seconds < kShortestLoop || seconds > kLongestLoop) setFileType(tagging::kFileTypeOneShot);
}

void IFileParser::deriveTransients() {
    m_transients.clear();
    const double divisions = getLengthInQuarterNotes() / 4 * m_forceDivisionsAt;
    // A finer grid than this is no music, and would end before the loop does.
    const bool isGrid = divisions > 0 && divisions <= static_cast<double>(kMaximumTransients);
    if (getFileType() == tagging::kFileTypeOneShot || !isGrid) return;
    const auto frames = static_cast<double>(getLengthInFrames());
    const double step = frames / divisions;
    for (double i = 0; std::round(i * step) < frames; ++i) {
        TransientStruct transient;
        transient.position = static_cast<std::uint32_t>(std::round(i * step));
        // On a grid finer than the frames several divisions round to one of them.
        if (m_transients.empty() || transient.position > m_transients.back().position)
            m_transients.push_back(transient);
    }
}

double IFileParser::getLengthInSeconds() const noexcept {
    if (m_formatInfo.mBytesPerFrame == 0 || !(m_formatInfo.mSampleRate > 0)) return 0;
    return static_cast<double>(m_sampleLengthInBytes) / m_formatInfo.mBytesPerFrame /
           m_formatInfo.mSampleRate;
}

long long IFileParser::getLengthInFrames() const noexcept {
    if (m_formatInfo.mBytesPerFrame == 0) return 0;
    return m_sampleLengthInBytes / static_cast<long long>(m_formatInfo.mBytesPerFrame);
}

IFileData& IFileParser::fileData() const {
    halyard::throwIfNull(m_fileData, "m_fileData");
    return *m_fileData;
}

long long IFileParser::findTagFromStart(const std::string& tag, int skipped) {
    if (m_chunks.empty()) listChunks();
    for (const ChunkPlace& chunk : m_chunks) {
        if (!chunk.is(tag) || skipped-- > 0) continue;
        fileData().seek(chunk.dataOffset, false);
        return chunk.size;
    }
    return -1;
}

void IFileParser::listChunks() {
    fileData().seek(getOffsetToData(), false);
    m_chunks.reserve(16);  // more than most files have
    while (m_chunks.size() < kMaximumChunks) {
        const std::optional<ChunkPlace> chunk = readChunkHeader();
        if (!chunk) return;
        m_chunks.push_back(*chunk);
        if (!stepOver(*chunk)) return;
    }
}

void IFileParser::setFileDataRef(const IFileDataRef& fileData) {
    m_fileData = fileData;
    m_chunks.clear();
}

long long IFileParser::bytesAvailable(long long size) const {
    return std::clamp(fileData().getFileLength() - fileData().currentMark(), 0LL, std::max(size, 0LL));
}

CBufferRef IFileParser::readChunk(long long size, long long limit) const {
    const long long wanted = std::min(bytesAvailable(size), limit);
    // Zeroed: a file that has shrunk since it was opened gives fewer bytes than it recorded.
    const CBufferRef body(new halyard::CBuffer(static_cast<std::size_t>(wanted), true));
    fileData().readBytes(wanted, body->getCharPtr());
    return body;
}

CStringRef IFileParser::textFromBytes(std::string_view bytes, halyard::TextEncoding fallback) {
    const std::string text(bytes.substr(0, bytes.find('\0')));
    const bool isUTF8 = halyard::isValidUTF8(text);
    return CStringRef(new halyard::CString(text.c_str(), isUTF8 ? halyard::TextEncoding::kUTF8 : fallback));
}

void IFileParser::setLinearFormat(double sampleRate, int channels, int bits) {
    FormatInfo format;
    format.mSampleRate = sampleRate;
    format.mFormatID = platform::kAudioFormatLinearPCM;
    // The flags of every parsed file, whatever its byte order: the data strategy knows that one.
    format.mFormatFlags = platform::kAudioFormatFlagIsBigEndian | platform::kAudioFormatFlagIsSignedInteger;
    format.mFramesPerPacket = 1;
    format.mChannelsPerFrame = static_cast<std::uint32_t>(std::max(channels, 0));
    format.mBitsPerChannel = static_cast<std::uint32_t>(std::max(bits, 0));
    format.mBytesPerFrame = format.mBitsPerChannel / 8 * format.mChannelsPerFrame;
    format.mBytesPerPacket = format.mBytesPerFrame;
    IFileData::requireUsableFormat(format);
    setFormatInfo(format);
}

void IFileParser::setSamplePosition(long long offset, long long statedLength) {
    if (offset > std::numeric_limits<unsigned int>::max())
        throw halyard::CParamException(halyard::kParameterError,
                                       "the sound data begins beyond 4 GiB (at byte %lld)", offset);
    const long long there = std::max(fileData().getFileLength() - offset, 0LL);
    const long long length =
        std::clamp(statedLength, 0LL, std::min<long long>(there, std::numeric_limits<int>::max()));
    setSampleOffset(static_cast<unsigned int>(offset));
    setSampleLengthInBytes(static_cast<int>(length));
}

void IFileParser::deriveBasicTagging() {
    deriveNumberOfBeatsAndRootNote(0.0);
    determineIfOneShot();
}

bool IFileParser::verifySampleData() {
    try {
        preparse();
    } catch (const halyard::CParamException&) {
        return false;
    }
    return getLengthInFrames() > 0;
}

}  // namespace marl
