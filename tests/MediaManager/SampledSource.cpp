// SPDX-License-Identifier: MIT
#include "MediaManager/SampledSource.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace support {
namespace {

struct Audio : marl::IAudioSource {
    explicit Audio(marl::IFileDataRef samples) : data(std::move(samples)) {}
    marl::IFileDataRef getFileData() override { return data; }
    marl::IFileDataRef data;
};

}  // namespace

SampledData::SampledData(int bits, unsigned channels, std::uint32_t frames, unsigned seed)
    : IFileData(false),
      format(platform::makeHostFormat(44100, channels, static_cast<unsigned>(bits))),
      values(std::size_t{frames} * channels),
      m_bytes(values.size() * static_cast<std::size_t>(bits / 8)) {
    std::minstd_rand random(seed);
    std::uniform_int_distribution<int> any(-32768, 32767);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const float wide = static_cast<float>(any(random)) / 32768;
        values[i] = bits == 8 ? std::floor(wide * 128) / 128 : wide;
        encode(i);
    }
}

void SampledData::set(std::uint64_t frame, unsigned channel, float value) {
    const auto sample = static_cast<std::size_t>(frame) * format.mChannelsPerFrame + channel;
    values[sample] = value;
    encode(sample);
}

void SampledData::encode(std::size_t sample) {
    const std::size_t width = format.mBitsPerChannel / 8;
    std::byte* const bytes = m_bytes.data() + sample * width;
    if (width == 4) {
        std::memcpy(bytes, &values[sample], 4);
        return;
    }
    const auto value = static_cast<std::int32_t>(values[sample] * 32768) * 65536;  // in the upper 16 bits
    const bool isBigEndian = std::endian::native == std::endian::big;
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t significance = isBigEndian ? i : width - 1 - i;
        bytes[i] = static_cast<std::byte>(static_cast<std::uint32_t>(value) >> (24 - 8 * significance));
    }
}

bool SampledData::getSampleConversion(marl::AudioStreamBasicDescription*, int* outFrames, long long*,
                                      marl::AudioStreamBasicDescription* output) {
    if (!isDescribed) return false;
    if (outFrames) *outFrames = static_cast<int>(frames());
    if (output) *output = format;
    return true;
}

const void* SampledData::readSamples(int first, int last, int* outLast, bool load) {
    const int total = static_cast<int>(values.size());
    *outLast = first;
    if (first < 0 || first >= total || last < first || (onlyLoads && !load)) return nullptr;
    if (failingSample >= first && failingSample <= last)
        throw halyard::CException(halyard::kFileIOError, 5, "failed reading file");
    const int endOfBlock = first / mostAtOnce * mostAtOnce + mostAtOnce;
    *outLast = std::min({last, total - 1, endOfBlock - 1});
    return m_bytes.data() + static_cast<std::size_t>(first) * (format.mBitsPerChannel / 8);
}

SampledSource::SampledSource(int bits, unsigned channelCount, std::uint32_t frames, unsigned seed)
    : data(new SampledData(bits, channelCount, frames, seed)),
      audio(new Audio(data)),
      channels(channelCount),
      length(frames) {}

Peaks scannedPeaks(const SampledData& data, unsigned lanes, std::uint32_t from, std::uint32_t to,
                   int columns) {
    Peaks peaks(static_cast<std::size_t>(columns) * lanes, marl::Peak{-1, 1});
    for (std::uint64_t frame = from; frame <= to; ++frame) {
        const auto columnCount = static_cast<std::uint64_t>(columns);
        const std::uint64_t place = from == to ? 0 : (frame - from) * columnCount / (to - from);
        const auto column = static_cast<std::size_t>(std::min(place, columnCount - 1));
        for (unsigned lane = 0; lane < lanes; ++lane) {
            const float value = data.value(frame, std::min(lane, data.format.mChannelsPerFrame - 1));
            marl::Peak& peak = peaks[column * lanes + lane];
            peak = {std::max(peak.maximum, value), std::min(peak.minimum, value)};
        }
    }
    return peaks;
}

}  // namespace support
