// SPDX-License-Identifier: MIT
#include <MarlCore/Files/CMemoryFileData.h>

#include <algorithm>
#include <array>
#include <vector>

namespace marl {

using halyard::CBuffer;
using halyard::CParamException;
using halyard::kParameterError;

namespace {

/// Bytes read at a time: file bytes and converted samples both stay in the second-level cache.
constexpr std::size_t kBlockSize = 32768;

long long bytesPerFrame(const AudioStreamBasicDescription& format) noexcept {
    return static_cast<long long>(format.mBitsPerChannel / 8) * format.mChannelsPerFrame;
}

/// `format` with the width and channels of `output`: the samples between the two steps of a conversion.
AudioStreamBasicDescription intermediateFormat(AudioStreamBasicDescription format,
                                               const AudioStreamBasicDescription& output) noexcept {
    format.mChannelsPerFrame = output.mChannelsPerFrame;
    format.mBitsPerChannel = output.mBitsPerChannel;
    format.mBytesPerFrame = static_cast<std::uint32_t>(bytesPerFrame(output));
    format.mBytesPerPacket = format.mBytesPerFrame;
    format.mFramesPerPacket = 1;
    return format;
}

}  // namespace

bool CMemoryFileData::Conversion::isSameAs(const Conversion& other) const noexcept {
    return fileFrames == other.fileFrames && dataOffset == other.dataOffset &&
           AudioDescriptionsAreEquivalent(fileFormat, other.fileFormat) &&
           AudioDescriptionsAreEquivalent(outputFormat, other.outputFormat);
}

void CMemoryFileData::setSampleConversion(AudioStreamBasicDescription fileFormat, int frames,
                                          long long dataOffset, AudioStreamBasicDescription outputFormat) {
    Conversion conversion{fileFormat, outputFormat, dataOffset, frames, 0};
    if (m_conversion.isSameAs(conversion)) return;
    requireUsableFormat(fileFormat);
    requireUsableFormat(outputFormat);
    requireSampleRange(frames, dataOffset, outputFormat);
    const CBufferRef samples = convertBuffer(readSampleBuffer(conversion), conversion);
    conversion.convertedFrames =
        static_cast<int>(static_cast<long long>(samples->getSize()) / bytesPerFrame(outputFormat));
    m_sampleBuffer = samples;
    m_conversion = conversion;
}

/// The sample range of the file in the output's width and channels, still at its own rate. Each block is
/// converted as soon as it is read, while it lies in the cache.
CBufferRef CMemoryFileData::readSampleBuffer(const Conversion& conversion) const {
    const SampleConversion step = sampleConversion(conversion.fileFormat, conversion.outputFormat);
    const auto fileBytes = static_cast<std::uint64_t>(conversion.fileFrames) *
                           static_cast<std::uint64_t>(bytesPerFrame(conversion.fileFormat));
    const auto outputBytesOf = [&](std::uint64_t bytes) {
        return bytes / static_cast<std::uint64_t>(step.fromBytes) * static_cast<std::uint64_t>(step.toBytes) *
               (step.toStereo ? 2 : 1);
    };
    const CBufferRef samples(new CBuffer(outputBytesOf(fileBytes), false));
    // Whole samples: 32768 bytes but for two that 24 bits leave over.
    const std::size_t blockSize = kBlockSize - kBlockSize % static_cast<std::size_t>(step.fromBytes);
    alignas(64) std::array<std::byte, kBlockSize> block;
    std::uint64_t done = 0;
    while (done < fileBytes) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(blockSize, fileBytes - done));
        const std::size_t there =
            readAt(conversion.dataOffset + static_cast<long long>(done), std::span(block).first(wanted));
        convertSamples(step, std::span(block).first(there), samples->getPtr() + outputBytesOf(done));
        done += there - there % static_cast<std::size_t>(step.fromBytes);
        if (there < wanted) break;
    }
    const auto missing = samples->span().subspan(static_cast<std::size_t>(outputBytesOf(done)));
    std::ranges::fill(missing, std::byte{0});  // silence in every output width
    return samples;
}

CBufferRef CMemoryFileData::convertBuffer(const CBufferRef& samples, const Conversion& conversion) {
    const auto from = intermediateFormat(conversion.fileFormat, conversion.outputFormat);
    const auto to = intermediateFormat(conversion.outputFormat, conversion.outputFormat);
    if (from.mSampleRate != to.mSampleRate) {
        const int frames = convertedFrameCount(conversion.fileFrames, from.mSampleRate, to.mSampleRate);
        requireSampleRange(frames, conversion.dataOffset, to);
        // A converter of many channels and a high ratio takes megabytes, which is not worth it for nothing.
        if (frames == 0) return CBufferRef(new CBuffer(0, false));
    }
    return convertSampleRates(samples, static_cast<long long>(samples->getSize()), from, to);
}

bool CMemoryFileData::getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames,
                                          long long* dataOffset, AudioStreamBasicDescription* outputFormat) {
    if (m_conversion.convertedFrames == -1) return false;
    if (fileFormat) *fileFormat = m_conversion.fileFormat;
    if (frames) *frames = m_conversion.convertedFrames;
    if (dataOffset) *dataOffset = m_conversion.dataOffset;
    if (outputFormat) *outputFormat = m_conversion.outputFormat;
    return true;
}

const void* CMemoryFileData::readSamples(int first, int last, int* outLast, bool) {
    halyard::throwIfNull(m_sampleBuffer, "m_sampleBuffer");
    halyard::throwIfNull(outLast, "outLast");
    const AudioStreamBasicDescription& output = m_conversion.outputFormat;
    const int total = m_conversion.convertedFrames * static_cast<int>(output.mChannelsPerFrame);
    if (first == 0 && last == 0) last = total - 1;
    if (first < 0 || first >= total || last < first) {
        *outLast = first;
        return nullptr;
    }
    *outLast = std::min(last, total - 1);
    return m_sampleBuffer->getPtr() + static_cast<std::size_t>(first) * (output.mBitsPerChannel / 8);
}

}  // namespace marl
