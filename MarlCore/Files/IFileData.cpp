// SPDX-License-Identifier: MIT
#include <MarlCore/Files/IFileData.h>

#include <MarlCore/Files/conversion/SampleKernels.h>
#include <MarlCore/platform/AudioConverter.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace marl {

using conversion::SampleKernel;
using conversion::SampleKernels;
using halyard::CBuffer;
using halyard::CException;
using halyard::CParamException;
using halyard::kParameterError;

namespace {

constexpr std::uint32_t kConverterAlgorithmProperty = platform::fourCharCode("srci");
constexpr std::uint32_t kConverterAlgorithm = platform::fourCharCode("csrc");

/// What the platform expects of an input callback that has nothing to read from.
constexpr std::int32_t kBadParameter = -50;

constexpr std::uint32_t kFillSize = 2048;  // bytes asked of the converter at a time

constexpr std::size_t kLargestSample = 4;  // bytes

template <std::size_t bytesPerSample>
void copySamples(const void* source, void* destination, std::size_t samples) noexcept {
    if (samples != 0) std::memcpy(destination, source, samples * bytesPerSample);
}

/// The kernel for a pair of widths in bytes; null when the pair is not supported.
SampleKernel sizeKernel(int from, int to, bool reversed, bool samplesAreSigned) noexcept {
    constexpr int kWidest = static_cast<int>(kLargestSample);
    if (from < 1 || from > kWidest || to < 1 || to > kWidest) return nullptr;
    const SampleKernels& kernels = conversion::sampleKernels();
    switch (from * 10 + to) {  // both have one digit
        case 11:
            return copySamples<1>;
        case 12:
            return samplesAreSigned ? kernels.signed8To16 : kernels.unsigned8To16;
        case 14:
            return kernels.unsigned8ToFloat;
        case 22:
            return reversed ? kernels.reverse16 : copySamples<2>;
        case 24:
            return reversed ? kernels.reversed16ToFloat : kernels.int16ToFloat;
        case 32:
            return reversed ? kernels.reversed24To16 : kernels.int24To16;
        case 33:
            return reversed ? kernels.reverse24 : copySamples<3>;
        case 34:
            return reversed ? kernels.reversed24ToFloat : kernels.int24ToFloat;
        case 44:
            return reversed ? kernels.reverse32 : copySamples<4>;
        default:
            return nullptr;
    }
}

/// Of 8-bit samples, which few ask for: no kernel of its own.
void duplicateBytes(const void* source, void* destination, std::size_t samples) noexcept {
    const auto* const from = static_cast<const std::byte*>(source);
    auto* const to = static_cast<std::byte*>(destination);
    for (std::size_t i = 0; i < samples; ++i) to[2 * i] = to[2 * i + 1] = from[i];
}

SampleKernel duplicateKernel(int bytesPerSample) noexcept {
    const SampleKernels& kernels = conversion::sampleKernels();
    return bytesPerSample == 1   ? duplicateBytes
           : bytesPerSample == 2 ? kernels.duplicate16
           : bytesPerSample == 3 ? kernels.duplicate24
                                 : kernels.duplicate32;
}

/// Converts and doubles a stretch at a time, through a block that stays in the first-level cache.
void convertToStereo(SampleKernel kernel, const std::byte* source, std::size_t fromBytes,
                     std::byte* destination, std::size_t toBytes, std::size_t samples) noexcept {
    constexpr std::size_t kBlock = 2048;
    std::array<std::byte, kBlock * kLargestSample> converted;
    const SampleKernel duplicate = duplicateKernel(static_cast<int>(toBytes));
    for (std::size_t done = 0; done < samples; done += kBlock) {
        const std::size_t count = std::min(kBlock, samples - done);
        kernel(source + done * fromBytes, converted.data(), count);
        duplicate(converted.data(), destination + done * 2 * toBytes, count);
    }
}

void requireChannels(int sourceChannels, int destinationChannels, bool monoToStereo) {
    const bool equal = sourceChannels == destinationChannels && sourceChannels > 0;
    if (equal || (monoToStereo && sourceChannels == 1 && destinationChannels == 2)) return;
    throw CParamException(kParameterError,
                          "Unsupported channel conversion. Source %d channels, dest %d channels.",
                          sourceChannels, destinationChannels);
}

void runKernel(SampleKernel kernel, const std::byte* source, int fromBytes, std::byte* destination,
               int toBytes, std::size_t samples, bool toStereo) noexcept {
    if (toStereo)
        convertToStereo(kernel, source, static_cast<std::size_t>(fromBytes), destination,
                        static_cast<std::size_t>(toBytes), samples);
    else
        kernel(source, destination, samples);
}

std::size_t samplesIn(const CBufferRef& buffer, int count, int bytesPerSample) {
    halyard::throwIfNull(buffer, "source");
    return std::min(static_cast<std::size_t>(std::max(count, 0)),
                    buffer->getSize() / static_cast<std::size_t>(bytesPerSample));
}

}  // namespace

IFileData::IFileData(bool dataIsBigEndian) noexcept : m_dataIsBigEndian(dataIsBigEndian) {}

IFileData::~IFileData() = default;

std::int64_t IFileData::getFileModificationDate() {
    return 0;
}

bool IFileData::AudioDescriptionsAreEquivalent(const AudioStreamBasicDescription& a,
                                               const AudioStreamBasicDescription& b) noexcept {
    return a.mSampleRate == b.mSampleRate && a.mFormatID == b.mFormatID && a.mFormatFlags == b.mFormatFlags &&
           a.mBytesPerFrame == b.mBytesPerFrame && a.mChannelsPerFrame == b.mChannelsPerFrame &&
           a.mBitsPerChannel == b.mBitsPerChannel;
}

void IFileData::requireUsableFormat(const AudioStreamBasicDescription& format) {
    if (format.mChannelsPerFrame == 0)
        throw CParamException(kParameterError, "the sample format has no channels");
    if (!(format.mSampleRate > 0) || !std::isfinite(format.mSampleRate))
        throw CParamException(kParameterError, "the sample format has no sample rate");
    if (format.mBitsPerChannel == 0 || format.mBitsPerChannel % 8 != 0)
        throw CParamException(kParameterError, "sample size is not a whole number of bytes (it is %d bits)",
                              static_cast<int>(format.mBitsPerChannel));
}

CBufferRef IFileData::convert8To16(CBufferRef source, int count, int sourceChannels,
                                   int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, true);
    return convertWithNewBuffer(source, count, 1, 2, sourceChannels != destinationChannels);
}

CBufferRef IFileData::convert8ToFloat(CBufferRef source, int count, int sourceChannels,
                                      int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, true);
    return convertWithNewBuffer(source, count, 1, 4, sourceChannels != destinationChannels);
}

CBufferRef IFileData::convert16To16(CBufferRef source, int count, int sourceChannels,
                                    int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, true);
    reverseInPlace(source, count, 2);
    if (sourceChannels == destinationChannels) return source;
    return convertWithNewBuffer(source, count, 2, 2, true);
}

CBufferRef IFileData::convert16ToFloat(CBufferRef source, int count, int sourceChannels,
                                       int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, false);
    reverseInPlace(source, count, 2);
    return convertWithNewBuffer(source, count, 2, 4, false);
}

CBufferRef IFileData::convertFloatToFloat(CBufferRef source, int count, int sourceChannels,
                                          int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, true);
    reverseInPlace(source, count, 4);
    if (sourceChannels == destinationChannels) return source;
    return convertWithNewBuffer(source, count, 4, 4, true);
}

CBufferRef IFileData::convert24ToFloat(CBufferRef source, int count, int sourceChannels,
                                       int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, true);
    reverseInPlace(source, count, 3);
    return convertWithNewBuffer(source, count, 3, 4, sourceChannels != destinationChannels);
}

CBufferRef IFileData::convert24To16(CBufferRef source, int count, int sourceChannels,
                                    int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, true);
    reverseInPlace(source, count, 3);
    return convertWithNewBuffer(source, count, 3, 2, sourceChannels != destinationChannels);
}

CBufferRef IFileData::convert24To24(CBufferRef source, int count, int sourceChannels,
                                    int destinationChannels) {
    requireChannels(sourceChannels, destinationChannels, false);
    reverseInPlace(source, count, 3);
    return source;
}

bool IFileData::samplesAreReversed() const noexcept {
    return m_dataIsBigEndian != (std::endian::native == std::endian::big);
}

void IFileData::reverseInPlace(const CBufferRef& source, int count, int bytesPerSample) const {
    const std::size_t samples = samplesIn(source, count, bytesPerSample);
    if (!samplesAreReversed()) return;
    const SampleKernel reverse = sizeKernel(bytesPerSample, bytesPerSample, true, m_samplesAreSigned);
    reverse(source->getPtr(), source->getPtr(), samples);
}

/// `source` is in host order by now.
CBufferRef IFileData::convertWithNewBuffer(const CBufferRef& source, int count, int fromBytes, int toBytes,
                                           bool toStereo) const {
    const std::size_t samples = samplesIn(source, count, fromBytes);
    const CBufferRef converted(new CBuffer(
        std::uint64_t{samples} * (toStereo ? 2 : 1) * static_cast<std::uint64_t>(toBytes), false));
    runKernel(sizeKernel(fromBytes, toBytes, false, m_samplesAreSigned), source->getPtr(), fromBytes,
              converted->getPtr(), toBytes, samples, toStereo);
    return converted;
}

IFileData::SampleConversion IFileData::sampleConversion(const AudioStreamBasicDescription& from,
                                                        const AudioStreamBasicDescription& to,
                                                        bool bytesToBytes) {
    const SampleConversion conversion{static_cast<int>(from.mBitsPerChannel / 8),
                                      static_cast<int>(to.mBitsPerChannel / 8),
                                      from.mChannelsPerFrame != to.mChannelsPerFrame};
    const bool supported = conversion.toBytes > 1 || bytesToBytes;
    if (!supported || !sizeKernel(conversion.fromBytes, conversion.toBytes, false, true))
        throw CParamException(kParameterError, "this is not a supported conversion (%d to %d)",
                              conversion.fromBytes, conversion.toBytes);
    requireChannels(static_cast<int>(from.mChannelsPerFrame), static_cast<int>(to.mChannelsPerFrame), true);
    return conversion;
}

void IFileData::requireSampleRange(int frames, long long dataOffset,
                                   const AudioStreamBasicDescription& format) {
    if (frames < 0)
        throw CParamException(kParameterError, "frame count must not be negative (got %d)", frames);
    // Far beyond any file, and near enough that the sum with a count of bytes is a number.
    constexpr long long kFurthest = std::numeric_limits<long long>::max() / 2;
    if (dataOffset < 0 || dataOffset > kFurthest)
        throw CParamException(kParameterError, "data offset must be a place in a file (got %lld)",
                              dataOffset);
    if (frames > std::numeric_limits<int>::max() / static_cast<long long>(format.mChannelsPerFrame))
        throw CParamException(kParameterError, "too many samples to count (%d frames of %u channels)", frames,
                              format.mChannelsPerFrame);
}

void IFileData::convertSamples(const SampleConversion& conversion, std::span<const std::byte> source,
                               std::byte* destination) const {
    runKernel(sizeKernel(conversion.fromBytes, conversion.toBytes, samplesAreReversed(), m_samplesAreSigned),
              source.data(), conversion.fromBytes, destination, conversion.toBytes,
              source.size() / static_cast<std::size_t>(conversion.fromBytes), conversion.toStereo);
}

int IFileData::convertedFrameCount(long long frames, double fromRate, double toRate) {
    const double converted = std::floor(static_cast<float>(frames) * toRate / fromRate + 0.5);
    if (!(converted >= 0 && converted <= std::numeric_limits<int>::max()))
        throw CParamException(kParameterError, "%lld frames at %g Hz are too many at %g Hz", frames, fromRate,
                              toRate);
    return static_cast<int>(std::lrint(converted));
}

CBufferRef IFileData::convertSampleRates(CBufferRef source, long long byteCount,
                                         AudioStreamBasicDescription from, AudioStreamBasicDescription to) {
    if (from.mSampleRate == to.mSampleRate) return source;
    halyard::throwIfNull(source, "source");
    const auto converter = platform::AudioConverter::create(from, to);
    if (!converter)
        throw CException(kParameterError, "IFileData::convertSampleRates: could not create audio converter.");
    if (!converter->setProperty(kConverterAlgorithmProperty, kConverterAlgorithm))
        throw CException(kParameterError,
                         "IFileData::convertSampleRates: could not set converter algorithm.");
    const long long inputBytes = std::clamp(byteCount, 0LL, static_cast<long long>(source->getSize()));
    const long long inputFrames = inputBytes / from.mBytesPerFrame;
    const auto outputFrames =
        static_cast<std::size_t>(convertedFrameCount(inputFrames, from.mSampleRate, to.mSampleRate));
    const CBufferRef anOutputBuffer(new CBuffer(std::uint64_t{outputFrames} * to.mBytesPerFrame, true));
    halyard::throwIfNull(anOutputBuffer, "anOutputBuffer");
    const FeedScope feed(*this,
                         source->span().first(static_cast<std::size_t>(inputFrames) * from.mBytesPerFrame));
    fillFromConverter(*converter, anOutputBuffer->span());
    return anOutputBuffer;
}

void IFileData::fillFromConverter(platform::AudioConverter& converter, std::span<std::byte> output) {
    while (!output.empty()) {
        auto granted = static_cast<std::uint32_t>(std::min<std::size_t>(output.size(), kFillSize));
        const std::int32_t result =
            converter.fillBuffer(&IFileData::SRConversionFillHelper, this, &granted, output.data());
        if (result != 0 || granted == 0)
            throw CException(kParameterError, "IFileData::convertSampleRates: could not convert buffer.");
        output = output.subspan(granted);
    }
}

std::int32_t IFileData::SRConversionFill(platform::AudioConverter*, std::uint32_t* ioByteCount,
                                         void** outData) {
    if (!m_feed.start || !m_feed.position || m_feed.byteCount == 0) return kBadParameter;
    const auto used = static_cast<std::size_t>(m_feed.position - m_feed.start);
    const std::size_t granted = std::min<std::size_t>(*ioByteCount, m_feed.byteCount - used);
    *outData = m_feed.position;
    *ioByteCount = static_cast<std::uint32_t>(granted);
    m_feed.position += granted;
    return 0;
}

std::int32_t IFileData::SRConversionFillHelper(platform::AudioConverter* converter,
                                               std::uint32_t* ioByteCount, void** outData, void* userData) {
    if (!userData) return kBadParameter;
    return static_cast<IFileData*>(userData)->SRConversionFill(converter, ioByteCount, outData);
}

}  // namespace marl
