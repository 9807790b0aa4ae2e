// SPDX-License-Identifier: MIT
// The disk's side of CDiskFileData: how a slice is read and converted.
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/Files/streaming/SliceResampler.h>
#include <MarlCore/platform/AbsoluteTime.h>
#include <MarlCore/platform/AudioConverter.h>

#include <algorithm>
#include <array>

namespace marl {
namespace {

constexpr std::size_t kSliceBytes = CBufferPoolEntry::kBufferSize;

/// File bytes that are read at once: a slice of any width, of which 24 bits to 16 are the longest.
constexpr std::size_t kReadBytes = kSliceBytes / 2 * 3;

/// A slice, and the rest of the frames that it cuts in two.
constexpr std::size_t kWholeFrames = kSliceBytes + 2 * platform::AudioConverter::kMaxChannels * sizeof(float);

}  // namespace

template <typename Fill>
void CDiskFileData::fillBuffer(CPartialFileData& slice, Fill fill) {
    const CBufferPoolEntryRef entry = beginWritingFor(&slice);
    fill(std::span(entry->getBufferPtr(), kSliceBytes));
    entry->setLastAccessTime(platform::AbsoluteTimeGetCurrent());
    // Another thread may have loaded the same slice meanwhile.
    if (!slice.setFirstSampleBufferRef(entry)) entry->assignPartialFileData(nullptr);
    entry->endWriting();
}

/// The file is read before a buffer is taken: a slow disk keeps none from the others, and a failing one takes
/// none away.
void CDiskFileData::loadSamples(CPartialFileData& slice) const {
    const int last = std::min(slice.getLastSample(), m_conversion.samples - 1);
    const int count = last - slice.getFirstSample() + 1;
    if (m_resampler)
        loadAtOtherRate(slice, count);
    else
        loadAtFileRate(slice, count);
}

void CDiskFileData::loadAtFileRate(CPartialFileData& slice, int count) const {
    const int doubling = m_conversion.step.toStereo ? 2 : 1;
    alignas(64) std::array<std::byte, kReadBytes> storage;
    const auto samples = readFileSamples(slice.getFirstSample() / doubling, count / doubling, storage);
    fillBuffer(slice, [&](std::span<std::byte> buffer) { convertPadded(samples, buffer); });
}

void CDiskFileData::loadAtOtherRate(CPartialFileData& slice, int count) const {
    const int channels = static_cast<int>(m_conversion.outputFormat.mChannelsPerFrame);
    const int firstFrame = slice.getFirstSample() / channels;
    const int frames = (slice.getFirstSample() + count - 1) / channels - firstFrame + 1;
    alignas(64) std::array<std::byte, kWholeFrames> converted;
    m_resampler->convert(
        firstFrame, frames,
        [this](std::int64_t first, std::span<std::byte> input) { readFrames(first, input); },
        converted.data());
    const auto width = static_cast<std::size_t>(m_conversion.step.toBytes);
    const auto start = static_cast<std::size_t>(slice.getFirstSample() % channels) * width;
    const auto samples = std::span(converted).subspan(start, static_cast<std::size_t>(count) * width);
    fillBuffer(slice, [&](std::span<std::byte> buffer) {
        std::ranges::copy(samples, buffer.begin());
        std::ranges::fill(buffer.subspan(samples.size()), silence());
    });
}

std::span<const std::byte> CDiskFileData::readFileSamples(long long first, int count,
                                                          std::span<std::byte> storage) const {
    const auto width = static_cast<std::size_t>(m_conversion.step.fromBytes);
    const auto wanted = storage.first(static_cast<std::size_t>(count) * width);
    const std::size_t there = readAt(m_conversion.dataOffset + first * m_conversion.step.fromBytes, wanted);
    return wanted.first(there - there % width);
}

/// Fills `output` with the converted samples, and silence behind them.
void CDiskFileData::convertPadded(std::span<const std::byte> samples, std::span<std::byte> output) const {
    const SampleConversion& step = m_conversion.step;
    convertSamples(step, samples, output.data());
    const std::size_t converted = samples.size() / static_cast<std::size_t>(step.fromBytes) *
                                  static_cast<std::size_t>(step.toBytes) * (step.toStereo ? 2 : 1);
    std::ranges::fill(output.subspan(converted), silence());
}

/// Fills `output` with frames of the file in the output's width and channels, from frame `first` on; those
/// before and after the file's own are silence.
void CDiskFileData::readFrames(std::int64_t first, std::span<std::byte> output) const {
    const std::size_t fileFrameBytes =
        static_cast<std::size_t>(m_conversion.step.fromBytes) * m_conversion.fileFormat.mChannelsPerFrame;
    const std::size_t frameBytes =
        static_cast<std::size_t>(m_conversion.step.toBytes) * m_conversion.outputFormat.mChannelsPerFrame;
    const auto before = static_cast<std::size_t>(std::max<std::int64_t>(-first, 0)) * frameBytes;
    std::ranges::fill(output.first(before), silence());
    output = output.subspan(before);
    first = std::max<std::int64_t>(first, 0);
    alignas(64) std::array<std::byte, kReadBytes> storage;
    while (!output.empty()) {
        const auto block = output.first(std::min(output.size(), kReadBytes / fileFrameBytes * frameBytes));
        const auto frames = static_cast<std::int64_t>(block.size() / frameBytes);
        const auto there =
            static_cast<int>(std::clamp<std::int64_t>(m_conversion.fileFrames - first, 0, frames));
        const int channels = static_cast<int>(m_conversion.fileFormat.mChannelsPerFrame);
        convertPadded(readFileSamples(first * channels, there * channels, storage), block);
        output = output.subspan(block.size());
        first += frames;
    }
}

}  // namespace marl
