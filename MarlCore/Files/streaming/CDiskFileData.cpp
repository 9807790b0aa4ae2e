// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CDiskFileData.h>

#include <MarlCore/Files/streaming/SliceResampler.h>
#include <MarlCore/platform/AbsoluteTime.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;
using platform::AbsoluteTimeGetCurrent;

namespace {

constexpr std::size_t kSliceBytes = CBufferPoolEntry::kBufferSize;

/// A slice of one byte value.
constexpr auto sliceOf(std::byte value) noexcept {
    std::array<std::byte, kSliceBytes> slice{};
    slice.fill(value);
    return slice;
}

// What is heard behind the end of every file, for the whole process. 8-bit samples that are passed on as they
// are can be unsigned, which rest at 128; all else rests at 0.
constexpr std::byte kSignedSilence{0};
constexpr std::byte kUnsignedSilence{0x80};
alignas(64) constexpr auto kSignedSilentSlice = sliceOf(kSignedSilence);
alignas(64) constexpr auto kUnsignedSilentSlice = sliceOf(kUnsignedSilence);

/// `count` frames at another rate, rounded down. The count passes through single precision where there is a
/// rate step, as in `IFileData::convertedFrameCount`.
int convertedFrames(int count, double fromRate, double toRate) {
    if (fromRate == toRate) return count;
    const double converted = std::floor(static_cast<float>(count) * toRate / fromRate);
    if (!(converted <= std::numeric_limits<int>::max()))
        throw CParamException(kParameterError, "%d frames at %g Hz are too many at %g Hz", count, fromRate,
                              toRate);
    return static_cast<int>(std::lrint(converted));
}

}  // namespace

bool CDiskFileData::Conversion::isSameAs(const Conversion& other) const noexcept {
    return fileFrames == other.fileFrames && frames == other.fileFrames && dataOffset == other.dataOffset &&
           AudioDescriptionsAreEquivalent(fileFormat, other.fileFormat) &&
           AudioDescriptionsAreEquivalent(outputFormat, other.outputFormat);
}

CDiskFileData::CDiskFileData(const CURLRef& url, bool create, bool dataIsBigEndian)
    : CUnixFileData(url, create, dataIsBigEndian) {
    AllocateBufferPool(kPoolSize);
}

CDiskFileData::~CDiskFileData() = default;

void CDiskFileData::setSampleConversion(AudioStreamBasicDescription fileFormat, int frames,
                                        long long dataOffset, AudioStreamBasicDescription outputFormat) {
    const Conversion conversion = makeConversion(fileFormat, frames, dataOffset, outputFormat);
    if (m_conversion.isSameAs(conversion)) return;
    std::unique_ptr<SliceResampler> resampler;
    if (fileFormat.mSampleRate != outputFormat.mSampleRate && conversion.samples > 0) {
        resampler = SliceResampler::create(fileFormat, outputFormat);
        if (!resampler)
            throw halyard::CException(kParameterError,
                                      "IFileData::convertSampleRates: could not create audio converter.");
    }
    buildPartialDataArray(conversion);
    m_resampler = std::move(resampler);
    m_conversion = conversion;
}

CDiskFileData::Conversion CDiskFileData::makeConversion(
    const AudioStreamBasicDescription& fileFormat, int frames, long long dataOffset,
    const AudioStreamBasicDescription& outputFormat) const {
    requireUsableFormat(fileFormat);
    requireUsableFormat(outputFormat);
    requireSampleRange(frames, dataOffset, outputFormat);
    Conversion conversion{fileFormat, outputFormat, dataOffset, frames};
    conversion.step = sampleConversion(fileFormat, outputFormat, true);
    conversion.frames = convertedFrames(frames, fileFormat.mSampleRate, outputFormat.mSampleRate);
    requireSampleRange(conversion.frames, dataOffset, outputFormat);
    conversion.samples = conversion.frames * static_cast<int>(outputFormat.mChannelsPerFrame);
    conversion.samplesPerPartial = static_cast<int>(kSliceBytes) / conversion.step.toBytes;
    return conversion;
}

/// Slices are counted by their samples, not by their bytes: those of 24 bits leave two bytes of each buffer
/// unused. The last sample of the first slice lies behind the end of a stream that is shorter than a slice.
void CDiskFileData::buildPartialDataArray(const Conversion& conversion) {
    const int length = conversion.samplesPerPartial;
    std::vector<CPartialFileDataRef> partials;
    partials.reserve(static_cast<std::size_t>(conversion.samples / length + 1));
    for (int first = 0; first < conversion.samples; first += length) {
        const int rest = conversion.samples - first;
        partials.emplace_back(
            new CPartialFileData(first, first + (first > 0 ? std::min(length, rest) : length) - 1));
        if (rest <= length) break;  // the next index may not be a number
    }
    m_partials = std::move(partials);
}

bool CDiskFileData::getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames,
                                        long long* dataOffset, AudioStreamBasicDescription* outputFormat) {
    if (m_conversion.frames == -1) return false;
    if (fileFormat) *fileFormat = m_conversion.fileFormat;
    if (frames) *frames = m_conversion.frames;
    if (dataOffset) *dataOffset = m_conversion.dataOffset;
    if (outputFormat) *outputFormat = m_conversion.outputFormat;
    return true;
}

void CDiskFileData::requireConversion() const {
    if (m_conversion.frames == -1)
        throw CParamException(kParameterError, "frame count uninitialized -- call setSampleConversion first");
}

CPartialFileData& CDiskFileData::findPartialFileDataAt(int sample) const noexcept {
    return *m_partials[static_cast<std::size_t>(sample / m_conversion.samplesPerPartial)];
}

bool CDiskFileData::isSampleRangeLoaded(int first, int last) {
    requireConversion();
    const int length = m_conversion.samplesPerPartial;
    first = std::max(first, 0);
    last = std::min(last, m_conversion.samples - 1);
    if (last < first) return true;
    bool allLoaded = true;
    const double now = AbsoluteTimeGetCurrent();
    for (int i = first / length; i <= last / length; ++i) {
        CBufferPoolEntry* const entry = m_partials[static_cast<std::size_t>(i)]->buffer();
        if (entry)
            entry->setLastAccessTime(now);
        else
            allLoaded = false;
    }
    return allLoaded;
}

const void* CDiskFileData::readSamples(int first, int last, int* outLast, bool load) {
    halyard::throwIfNull(outLast, "outLast");
    requireConversion();
    const int length = m_conversion.samplesPerPartial;
    if (first >= m_conversion.samples) {
        *outLast = first + std::min(length - 1, std::numeric_limits<int>::max() - first);
        return silence() == kSignedSilence ? kSignedSilentSlice.data() : kUnsignedSilentSlice.data();
    }
    last = first == 0 && last == 0 ? m_conversion.samples - 1 : std::min(last, m_conversion.samples - 1);
    *outLast = first;
    if (first < 0 || last < first) return nullptr;
    if (load) loadRange(first, last);
    const CPartialFileData& slice = findPartialFileDataAt(first);
    CBufferPoolEntry* const entry = slice.buffer();
    if (!entry && load)
        throw CParamException(kParameterError, "sample buffer that we want to return is not loaded! Ack!'");
    if (!entry) return nullptr;
    entry->setLastAccessTime(AbsoluteTimeGetCurrent());
    *outLast = std::min(slice.getLastSample(), last);
    return entry->getBufferPtr() + (first - slice.getFirstSample()) * m_conversion.step.toBytes;
}

/// No more slices than the pool has buffers: the others would take the first ones away.
void CDiskFileData::loadRange(int first, int last) {
    const int length = m_conversion.samplesPerPartial;
    const int poolSize = static_cast<int>(g_bufferPoolEntryArray.size());
    const int firstSlice = first / length;
    const int lastSlice = std::min(last / length, firstSlice + poolSize - 1);
    for (int i = firstSlice; i <= lastSlice; ++i) {
        CPartialFileData& slice = *m_partials[static_cast<std::size_t>(i)];
        if (CBufferPoolEntry* const entry = slice.buffer())
            entry->setLastAccessTime(AbsoluteTimeGetCurrent());
        else
            loadSamples(slice);
    }
}

int CDiskFileData::copySamples(int first, int last, void* destination) {
    requireConversion();
    last = std::min(last, m_conversion.samples - 1);
    if (first < 0) return 0;
    auto* target = static_cast<std::byte*>(destination);
    int copied = 0;
    while (first <= last) {
        const int count = copyFromSlice(findPartialFileDataAt(first), first, last, target);
        if (count == 0) break;
        copied += count;
        first += count;
        target += static_cast<std::size_t>(count) * static_cast<std::size_t>(m_conversion.step.toBytes);
    }
    return copied;
}

int CDiskFileData::copyFromSlice(const CPartialFileData& slice, int first, int last,
                                 std::byte* destination) const {
    CBufferPoolEntry* const entry = slice.buffer();
    if (!entry || !entry->tryBeginReading()) return 0;
    int count = 0;
    if (slice.buffer() == entry) {  // not given away before the reading began
        const auto width = static_cast<std::size_t>(m_conversion.step.toBytes);
        const auto start = static_cast<std::size_t>(first - slice.getFirstSample());
        count = std::min(slice.getLastSample(), last) - first + 1;
        std::memcpy(destination, entry->getBufferPtr() + start * width,
                    static_cast<std::size_t>(count) * width);
        entry->setLastAccessTime(AbsoluteTimeGetCurrent());
    }
    entry->endReading();
    return count;
}

std::byte CDiskFileData::silence() const noexcept {
    const bool isUnsigned = m_conversion.step.toBytes == 1 && !samplesAreSigned();
    return isUnsigned ? kUnsignedSilence : kSignedSilence;
}

}  // namespace marl
