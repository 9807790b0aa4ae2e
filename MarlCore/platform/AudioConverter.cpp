// SPDX-License-Identifier: MIT
#include <MarlCore/platform/AudioConverter.h>

#include <algorithm>
#include <cstring>

namespace platform {
namespace {

// A block is large enough that the calls around it cost nothing, and small enough for the first-level cache,
// however many channels there are.
constexpr std::int64_t kBlockFrames = 2048;   // of input and of output
constexpr std::int64_t kBlockSamples = 4096;  // of all channels together

bool haveSameFrames(const AudioStreamBasicDescription& from, const AudioStreamBasicDescription& to) {
    return from.mChannelsPerFrame == to.mChannelsPerFrame && from.mBitsPerChannel == to.mBitsPerChannel &&
           from.mBytesPerFrame == to.mBytesPerFrame;
}

// Whole periods of the filter where they fit, an even number of frames otherwise: three periods fill the
// registers with the frames of two channels that share their coefficients.
std::int64_t chooseBlockFrames(const PolyphaseFilter& filter, std::size_t channels) {
    const RateRatio ratio = filter.ratio();
    const std::int64_t most = std::min(kBlockFrames, kBlockSamples / static_cast<std::int64_t>(channels));
    const std::int64_t byInput = most * ratio.outputFrames / ratio.inputFrames;
    const std::int64_t limit = std::clamp<std::int64_t>(byInput, 2, most);
    const std::int64_t threePeriods = 3 * filter.outputsPerPeriod();
    const std::int64_t unit = filter.isPeriodic() && threePeriods <= limit ? threePeriods : 2;
    return limit / unit * unit;
}

}  // namespace

std::unique_ptr<AudioConverter> AudioConverter::create(const AudioStreamBasicDescription& from,
                                                       const AudioStreamBasicDescription& to) {
    const auto type = sampleTypeOf(from.mBitsPerChannel);
    const auto ratio = RateRatio::fromRates(from.mSampleRate, to.mSampleRate);
    const std::uint32_t channels = from.mChannelsPerFrame;
    if (!type || !ratio || !haveSameFrames(from, to)) return nullptr;
    if (channels == 0 || channels > kMaxChannels) return nullptr;
    if (from.mBytesPerFrame != channels * bytesPerSample(*type)) return nullptr;
    return std::unique_ptr<AudioConverter>(new AudioConverter(*type, channels, *ratio));
}

AudioConverter::AudioConverter(SampleType type, std::size_t channels, RateRatio ratio)
    : m_type(type),
      m_frameBytes(bytesPerSample(type) * channels),
      m_resampler(PolyphaseFilter::shared(ratio)),
      m_blockFrames(chooseBlockFrames(m_resampler.filter(), channels)),
      m_inputFirst(m_resampler.inputRange(0, 1).first) {
    const auto inputFrames = static_cast<std::size_t>(m_resampler.maxInputFrames(m_blockFrames));
    const auto outputFrames = static_cast<std::size_t>(m_blockFrames);
    m_samples.resize((inputFrames + outputFrames) * channels);
    for (std::size_t c = 0; c < channels; ++c) {
        m_inputs.push_back(m_samples.data() + c * inputFrames);
        m_outputs.push_back(m_samples.data() + channels * inputFrames + c * outputFrames);
    }
    m_partial.reserve(m_frameBytes);
    m_block.reserve(outputFrames * m_frameBytes);
    appendSilence(static_cast<std::size_t>(-m_inputFirst));
}

bool AudioConverter::setProperty(std::uint32_t property, std::uint32_t value) noexcept {
    return property == kAudioConverterSampleRateConverterAlgorithm && value == kAudioConverterAlgorithmCSRC;
}

std::int32_t AudioConverter::fillBuffer(AudioConverterInputProc inputProc, void* userData,
                                        std::uint32_t* ioOutputByteCount, void* outData) {
    if (!inputProc || !ioOutputByteCount || (!outData && *ioOutputByteCount > 0)) return kAudioParamError;
    std::span<std::byte> rest(static_cast<std::byte*>(outData), *ioOutputByteCount);
    rest = rest.subspan(takeOutput(rest));
    while (!rest.empty()) {
        if (const std::int32_t status = convertBlock(inputProc, userData)) {
            *ioOutputByteCount -= static_cast<std::uint32_t>(rest.size());
            return status;
        }
        rest = rest.subspan(takeOutput(rest));
    }
    return 0;
}

std::size_t AudioConverter::takeOutput(std::span<std::byte> target) noexcept {
    const std::size_t count = std::min(target.size(), m_block.size() - m_blockBegin);
    std::copy_n(m_block.data() + m_blockBegin, count, target.data());
    m_blockBegin += count;
    return count;
}

std::int32_t AudioConverter::convertBlock(AudioConverterInputProc inputProc, void* userData) {
    const auto range = m_resampler.inputRange(m_nextOutput, m_blockFrames);
    dropInputBefore(range.first);
    if (const std::int32_t status = readInput(inputProc, userData, range.last + 1)) return status;
    m_resampler.process(m_nextOutput, m_blockFrames, m_inputs, m_inputFirst, m_outputs);
    m_nextOutput += m_blockFrames;
    const auto frames = static_cast<std::size_t>(m_blockFrames);
    m_block.resize(frames * m_frameBytes);
    m_blockBegin = 0;
    planesToSamples(m_type, m_outputs, frames, m_block.data());
    return 0;
}

std::int32_t AudioConverter::readInput(AudioConverterInputProc inputProc, void* userData,
                                       std::int64_t endFrame) {
    while (endOfInput() < endFrame) {
        const auto missing = static_cast<std::size_t>(endFrame - endOfInput());
        if (m_inputEnded) {
            appendSilence(missing);
        } else if (const std::int32_t status = readGrant(inputProc, userData, missing)) {
            return status;
        }
    }
    return 0;
}

std::int32_t AudioConverter::readGrant(AudioConverterInputProc inputProc, void* userData,
                                       std::size_t frames) {
    const auto asked = static_cast<std::uint32_t>(frames * m_frameBytes - m_partial.size());
    std::uint32_t granted = asked;
    void* data = nullptr;
    if (const std::int32_t status = inputProc(this, &granted, &data, userData)) return status;
    if (granted > asked || (granted > 0 && !data)) return kAudioParamError;
    m_inputEnded = granted == 0;
    appendBytes({static_cast<const std::byte*>(data), granted});
    return 0;
}

// Completes the frame that the last grant cut in two, then takes whole frames, and keeps what is left over.
void AudioConverter::appendBytes(std::span<const std::byte> bytes) noexcept {
    if (!m_partial.empty()) {
        const std::size_t count = std::min(bytes.size(), m_frameBytes - m_partial.size());
        m_partial.insert(m_partial.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        bytes = bytes.subspan(count);
        if (m_partial.size() < m_frameBytes) return;
        appendFrames(m_partial);
        m_partial.clear();
    }
    const std::size_t whole = bytes.size() / m_frameBytes * m_frameBytes;
    appendFrames(bytes.first(whole));
    m_partial.assign(bytes.begin() + static_cast<std::ptrdiff_t>(whole), bytes.end());
}

void AudioConverter::appendFrames(std::span<const std::byte> bytes) noexcept {
    samplesToPlanes(m_type, bytes, m_inputs, m_inputFrames);
    m_inputFrames += bytes.size() / m_frameBytes;
}

void AudioConverter::appendSilence(std::size_t frames) noexcept {
    for (float* plane : m_inputs) std::fill_n(plane + m_inputFrames, frames, 0.0f);
    m_inputFrames += frames;
}

void AudioConverter::dropInputBefore(std::int64_t frame) noexcept {
    const auto dropped = static_cast<std::size_t>(frame - m_inputFirst);
    m_inputFrames -= dropped;
    for (float* plane : m_inputs) std::memmove(plane, plane + dropped, m_inputFrames * sizeof(float));
    m_inputFirst = frame;
}

}  // namespace platform
