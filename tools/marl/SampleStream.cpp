// SPDX-License-Identifier: MIT
#include "marl/SampleStream.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace marl::tool {
namespace {

constexpr int kBlock = 16384;  // samples

/// The low 24 bits of `value`, in host order.
void store24(std::int32_t value, std::byte* destination) noexcept {
    const bool bigEndian = std::endian::native == std::endian::big;
    for (int i = 0; i < 3; ++i)
        destination[bigEndian ? 2 - i : i] =
            static_cast<std::byte>(static_cast<std::uint32_t>(value) >> 8 * i);
}

std::int32_t from16(const std::byte* source) noexcept {
    std::int16_t value;
    std::memcpy(&value, source, sizeof value);
    return value * 256;
}

std::int32_t fromFloat(const std::byte* source) noexcept {
    constexpr float kScale = 8388608, kHighest = 8388607;
    float value;
    std::memcpy(&value, source, sizeof value);
    return static_cast<std::int32_t>(std::lrint(std::clamp(value * kScale, -kScale, kHighest)));
}

/// The file data has no conversion from 8 and 16 to 24 bits, so these take a step between. 16 bits go through
/// float, where a change of rate loses nothing; 8 bits through 16, because their way to float takes every
/// byte as unsigned.
int deliveredBits(int fileBits, int bits) noexcept {
    if (bits != 24 || fileBits == 24) return bits;
    return fileBits == 16 ? 32 : 16;
}

}  // namespace

SampleStream::SampleStream(const LoopFile& loop, int bits, double sampleRate, int channels)
    : m_data(loop.data()),
      m_deliveredBits(deliveredBits(static_cast<int>(loop.format.mBitsPerChannel), bits)),
      m_bits(bits) {
    const auto output = platform::makeHostFormat(sampleRate, static_cast<std::uint32_t>(channels),
                                                 static_cast<std::uint32_t>(m_deliveredBits));
    const auto frames = static_cast<int>(loop.parser().getLengthInFrames());
    m_data.setSampleConversion(loop.format, frames, loop.parser().getSampleOffset(), output);
    int convertedFrames = 0;
    m_data.getSampleConversion(nullptr, &convertedFrames, nullptr, nullptr);
    m_samples = convertedFrames * channels;
}

void SampleStream::forEachBlock(const std::function<void(std::span<const std::byte>)>& take) {
    for (int first = 0; first < m_samples;) {
        int last = first;
        const int wanted = first + std::min(kBlock, m_samples - first) - 1;
        // 0, 0 would ask for the whole stream: a stream of one sample is just that.
        const void* const samples = m_data.readSamples(first, wanted, &last, true);
        if (!samples) throw halyard::CException(halyard::kInternalError, "sample %d is missing", first);
        last = std::min(last, wanted);
        const auto bytes =
            static_cast<std::size_t>(last - first + 1) * static_cast<std::size_t>(m_deliveredBits / 8);
        take(widened({static_cast<const std::byte*>(samples), bytes}));
        first = last + 1;
    }
}

std::span<const std::byte> SampleStream::widened(std::span<const std::byte> block) {
    if (m_deliveredBits == m_bits) return block;
    const std::size_t width = static_cast<std::size_t>(m_deliveredBits) / 8, count = block.size() / width;
    m_block.resize(count * 3);
    for (std::size_t i = 0; i < count; ++i) {
        const std::byte* const sample = block.data() + i * width;
        store24(m_deliveredBits == 16 ? from16(sample) : fromFloat(sample), m_block.data() + i * 3);
    }
    return m_block;
}

}  // namespace marl::tool
