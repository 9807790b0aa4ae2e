// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/PeaksReaderImpl.h>

#include <MarlCore/Files/conversion/SampleKernels.h>
#include <MarlCore/MediaManager/PeakKernels.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace marl::peaks {
namespace {

constexpr Peak kUnreadable{0, 0};
constexpr Peak kWithoutFormat{1, -1};
/// What every entry begins with: any sample of up to full scale sets both values.
constexpr Peak kWithoutFrames{-1, 1};

// A request is for some entries, and where these are short for as many frames as make its cost small.
constexpr std::uint64_t kEntriesARequest = 4;
constexpr std::uint64_t kFramesARequest = 4096;
constexpr std::uint64_t kMostFramesConverted = 4096;  // at a time: a block that stays in the cache

/// The frames at which the entries of a range begin, one after the other, without a division.
class EntryStarts {
public:
    EntryStarts(const FrameRange& range, std::uint64_t entries) noexcept
        : m_whole(range.spread / entries),
          m_rest(range.spread % entries),
          m_entries(entries),
          m_floor(range.first) {}

    std::uint64_t next() noexcept {
        m_floor += m_whole;
        m_remainder += m_rest;
        if (m_remainder >= m_entries) {
            m_remainder -= m_entries;
            ++m_floor;
        }
        return m_floor + (m_remainder != 0 ? 1 : 0);
    }

private:
    std::uint64_t m_whole, m_rest, m_entries;
    std::uint64_t m_floor;
    std::uint64_t m_remainder = 0;  // of the place of the entry, in parts of a frame
};

/// Frames of a stream in memory, and the peaks of them. The kernels take one or two channels of 16 bits or
/// floats: all else is brought into that form, a block at a time.
class FrameReader {
public:
    FrameReader(IFileData& data, const AudioStreamBasicDescription& format, bool load)
        : m_data(data),
          m_load(load),
          m_channels(format.mChannelsPerFrame),
          m_width(format.mBitsPerChannel / 8),
          m_kernel(kernelFor(format)) {}

    /// Includes frames `first` to `end` in `peaks`, one a channel up to two, and reads ahead up to
    /// `requestEnd` when it must read at all. False when they cannot be read.
    bool include(std::uint64_t first, std::uint64_t end, std::uint64_t requestEnd, Peak* peaks) {
        while (first < end) {
            if (first >= m_end && !fetch(first, std::max(end, requestEnd))) return false;
            const std::uint64_t count = std::min(end, m_end) - first;
            m_kernel(m_samples + (first - m_first) * m_frameBytes, static_cast<std::size_t>(count), peaks);
            first += count;
        }
        return true;
    }

private:
    using Format = AudioStreamBasicDescription;

    static PeakKernel kernelFor(const Format& format) noexcept {
        const PeakKernels& kernels = peakKernels();
        const bool isMono = format.mChannelsPerFrame == 1;
        if (format.mBitsPerChannel == 32) return isMono ? kernels.monoFloat : kernels.stereoFloat;
        return isMono ? kernels.mono16 : kernels.stereo16;
    }

    std::size_t kernelWidth() const noexcept { return m_width == 4 ? 4 : 2; }
    std::size_t kernelChannels() const noexcept { return std::min<std::size_t>(m_channels, 2); }
    bool isConverted() const noexcept { return m_channels > 2 || m_width != kernelWidth(); }

    bool fetch(std::uint64_t first, std::uint64_t end) {
        if (isConverted()) end = std::min(end, first + kMostFramesConverted);
        const int firstSample = static_cast<int>(first * m_channels);
        const int lastSample = static_cast<int>(end * m_channels - 1);
        int last = firstSample;
        const void* const samples = m_data.readSamples(firstSample, lastSample, &last, m_load);
        if (!samples || last < firstSample) return false;
        const auto count = static_cast<std::size_t>(std::min(last, lastSample) - firstSample + 1);
        m_first = first;
        if (count < m_channels) return fetchSplitFrame(firstSample);
        takeOver(static_cast<const std::byte*>(samples), count / m_channels);
        return true;
    }

    /// One frame that lies in two slices of a streamed file.
    bool fetchSplitFrame(int firstSample) {
        std::vector<std::byte> frame(m_channels * m_width);
        for (std::size_t i = 0; i < m_channels; ++i) {
            const int sample = firstSample + static_cast<int>(i);
            int last = sample;
            const void* const there = m_data.readSamples(sample, sample, &last, m_load);
            if (!there) return false;
            std::memcpy(frame.data() + i * m_width, there, m_width);
        }
        m_splitFrame.swap(frame);
        takeOver(m_splitFrame.data(), 1);
        return true;
    }

    void takeOver(const std::byte* samples, std::size_t frames) {
        if (m_width != kernelWidth()) samples = narrowed(samples, frames * m_channels);
        if (m_channels > 2) samples = firstTwoChannels(samples, frames);
        m_samples = samples;
        m_frameBytes = kernelWidth() * kernelChannels();
        m_end = m_first + frames;
    }

    const std::byte* narrowed(const std::byte* samples, std::size_t count) {
        const conversion::SampleKernels& kernels = conversion::sampleKernels();
        const conversion::SampleKernel to16 = m_width == 3                ? kernels.int24To16
                                              : m_data.samplesAreSigned() ? kernels.signed8To16
                                                                          : kernels.unsigned8To16;
        m_narrowed.resize(count * 2);
        to16(samples, m_narrowed.data(), count);
        return m_narrowed.data();
    }

    const std::byte* firstTwoChannels(const std::byte* samples, std::size_t frames) {
        const std::size_t width = kernelWidth();
        m_twoChannels.resize(frames * 2 * width);
        for (std::size_t i = 0; i < frames; ++i)
            std::memcpy(m_twoChannels.data() + i * 2 * width, samples + i * m_channels * width, 2 * width);
        return m_twoChannels.data();
    }

    IFileData& m_data;
    const bool m_load;
    const std::size_t m_channels;
    const std::size_t m_width;  // bytes a sample
    const PeakKernel m_kernel;

    // The run of frames at hand: m_first to m_end, exclusive.
    const std::byte* m_samples = nullptr;
    std::size_t m_frameBytes = 0;
    std::uint64_t m_first = 0, m_end = 0;

    std::vector<std::byte> m_splitFrame, m_narrowed, m_twoChannels;
};

/// Whether the samples are any that `FrameReader` knows.
bool isKnown(const AudioStreamBasicDescription& format) noexcept {
    const unsigned bits = format.mBitsPerChannel;
    return format.mChannelsPerFrame != 0 && (bits == 8 || bits == 16 || bits == 24 || bits == 32);
}

/// Frames of a stream of `frames`, as many as have a sample index.
std::uint64_t readableFrames(int frames, unsigned channels) noexcept {
    return std::min(static_cast<unsigned>(std::max(frames, 0)),
                    static_cast<unsigned>(std::numeric_limits<int>::max()) / channels);
}

/// Stores the peaks of one or two channels in one or two lanes.
void store(const Peak (&channels)[2], bool isMono, std::span<Peak> lanes) {
    lanes[0] = channels[0];
    if (lanes.size() > 1) lanes[1] = channels[isMono ? 0 : 1];
}

/// False when something cannot be read.
bool readEntries(FrameReader& reader, const FrameRange& range, std::uint64_t streamFrames, bool isMono,
                 unsigned lanes, std::span<Peak> peaks) {
    const std::uint64_t entries = peaks.size() / lanes;
    const std::uint64_t request = std::max(range.spread / entries * kEntriesARequest, kFramesARequest);
    const std::uint64_t last = std::min(range.end, streamFrames);
    EntryStarts starts(range, entries);
    std::uint64_t first = range.first;
    for (std::uint64_t entry = 0; entry < entries; ++entry) {
        const std::uint64_t end = entry + 1 < entries ? starts.next() : range.end;
        Peak channels[2] = {kWithoutFrames, kWithoutFrames};
        if (first >= streamFrames && first < range.end)
            channels[0] = channels[1] = kUnreadable;
        else if (!reader.include(first, std::min(end, last), std::min(first + request, last), channels))
            return false;
        store(channels, isMono, peaks.subspan(static_cast<std::size_t>(entry) * lanes, lanes));
        first = end;
    }
    return true;
}

}  // namespace

FrameRange FrameRange::between(std::uint32_t from, std::uint32_t to) noexcept {
    if (to < from) return {from, from, 1};
    return {from, std::uint64_t{to} + 1, std::max<std::uint64_t>(to - from, 1)};
}

void readPeaks(IFileData& data, const FrameRange& range, bool load, unsigned lanes, std::span<Peak> peaks) {
    AudioStreamBasicDescription format;
    int frames = 0;
    if (!data.getSampleConversion(nullptr, &frames, nullptr, &format) || !isKnown(format)) {
        std::ranges::fill(peaks, kWithoutFormat);
        return;
    }
    if (peaks.empty()) return;
    bool isRead = false;
    try {
        FrameReader reader(data, format, load);
        const std::uint64_t streamFrames = readableFrames(frames, format.mChannelsPerFrame);
        isRead = range.first < std::min(range.end, streamFrames) &&
                 readEntries(reader, range, streamFrames, format.mChannelsPerFrame == 1, lanes, peaks);
    } catch (const halyard::CException&) {  // of a disk that fails, or a file that was cut off
    }
    if (!isRead) std::ranges::fill(peaks, kUnreadable);
}

}  // namespace marl::peaks
