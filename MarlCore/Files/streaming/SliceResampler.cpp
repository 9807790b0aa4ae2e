// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/SliceResampler.h>

#include <MarlCore/platform/AudioConverter.h>

#include <algorithm>
#include <vector>

namespace marl {

using platform::AudioConverter;
using platform::SampleType;

namespace {

// What a block takes lies in the first-level cache, however many channels there are.
constexpr std::int64_t kBlockFrames = 2048;   // of input and of output
constexpr std::int64_t kBlockSamples = 4096;  // of all channels together

/// A block on its way: as it was read, and as planes of float, a channel a plane. One a thread, for all files
/// that it loads: ten thousand open files need no more memory than one.
struct Workspace {
    std::vector<std::byte> bytes;
    std::vector<float> samples;
    std::vector<float*> inputs;
    std::vector<float*> outputs;

    void resize(std::size_t channels, std::size_t inputFrames, std::size_t outputFrames) {
        bytes.resize(std::max(bytes.size(), channels * inputFrames * sizeof(float)));
        samples.resize(std::max(samples.size(), channels * (inputFrames + outputFrames)));
        inputs.resize(channels);
        outputs.resize(channels);
        for (std::size_t c = 0; c < channels; ++c) {
            inputs[c] = samples.data() + c * inputFrames;
            outputs[c] = samples.data() + channels * inputFrames + c * outputFrames;
        }
    }
};

/// A long filter makes blocks long: at least as many frames are converted as are read around them.
std::int64_t chooseBlockFrames(const platform::PolyphaseFilter& filter, std::size_t channels) noexcept {
    const platform::RateRatio ratio = filter.ratio();
    const std::int64_t most = std::min(kBlockFrames, kBlockSamples / static_cast<std::int64_t>(channels));
    const std::int64_t inputs = std::max(most, static_cast<std::int64_t>(filter.rowLength()));
    return std::clamp<std::int64_t>(inputs * ratio.outputFrames / ratio.inputFrames, 1, most);
}

}  // namespace

std::unique_ptr<SliceResampler> SliceResampler::create(const platform::AudioStreamBasicDescription& from,
                                                       const platform::AudioStreamBasicDescription& to) {
    const auto type = platform::sampleTypeOf(to.mBitsPerChannel);
    const auto ratio = platform::RateRatio::fromRates(from.mSampleRate, to.mSampleRate);
    const std::uint32_t channels = to.mChannelsPerFrame;
    if (!type || !ratio || channels == 0 || channels > AudioConverter::kMaxChannels) return nullptr;
    return std::unique_ptr<SliceResampler>(new SliceResampler(*type, channels, *ratio));
}

SliceResampler::SliceResampler(SampleType type, std::size_t channels, platform::RateRatio ratio)
    : m_type(type),
      m_channels(channels),
      m_resampler(platform::PolyphaseFilter::shared(ratio)),
      m_blockFrames(chooseBlockFrames(m_resampler.filter(), channels)) {}

void SliceResampler::convert(std::int64_t firstOutput, std::int64_t count, const ReadInput& readInput,
                             std::byte* output) const {
    const std::size_t frameBytes = m_channels * bytesPerSample(m_type);
    for (std::int64_t done = 0; done < count; done += m_blockFrames) {
        convertBlock(firstOutput + done, std::min(m_blockFrames, count - done), readInput,
                     output + static_cast<std::size_t>(done) * frameBytes);
    }
}

void SliceResampler::convertBlock(std::int64_t firstOutput, std::int64_t count, const ReadInput& readInput,
                                  std::byte* output) const {
    thread_local Workspace workspace;
    const auto range = m_resampler.inputRange(firstOutput, count);
    const auto inputFrames = static_cast<std::size_t>(range.last - range.first + 1);
    workspace.resize(m_channels, inputFrames, static_cast<std::size_t>(count));
    const std::span input =
        std::span(workspace.bytes).first(inputFrames * m_channels * bytesPerSample(m_type));
    readInput(range.first, input);
    samplesToPlanes(m_type, input, workspace.inputs, 0);
    m_resampler.process(firstOutput, count, workspace.inputs, range.first, workspace.outputs);
    planesToSamples(m_type, workspace.outputs, static_cast<std::size_t>(count), output);
}

}  // namespace marl
