// SPDX-License-Identifier: MIT
#include "marl/SampleStream.h"

#include "marl/Output.h"
#include "marl/ReadAhead.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

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
    if (bits != 24 || fileBits >= 24) return bits;
    return fileBits == 16 ? 32 : 16;
}

int bitsOf(const std::string& format, std::uint32_t fileBits) {
    for (const SampleFormat& known : kSampleFormats) {
        if (format == known.name) return known.bits;
    }
    return fileBits >= 24 ? static_cast<int>(fileBits) : 16;
}

}  // namespace

Delivery deliveryFor(const LoopFile& loop, const std::string& format, double sampleRate, int channels) {
    return {bitsOf(format, loop.format.mBitsPerChannel),
            sampleRate > 0 ? sampleRate : loop.format.mSampleRate,
            channels > 0 ? channels : static_cast<int>(loop.format.mChannelsPerFrame)};
}

void reportCutOff(const std::string& path, const LoopFile& loop, std::ostream& err) {
    const IFileParser& parser = loop.parser();
    const long long rest =
        loop.data().getFileLength() - parser.getSampleOffset() - parser.getSampleLengthInBytes();
    if (rest > 0 && parser.getSampleLengthInBytes() == std::numeric_limits<int>::max())
        reportError(err, path, "note: only the first 2 GiB of samples are converted");
}

SampleStream::SampleStream(const LoopFile& loop, const Delivery& delivery)
    : m_data(loop.file->getFileDataRef()),
      m_deliveredBits(deliveredBits(static_cast<int>(loop.format.mBitsPerChannel), delivery.bits)),
      m_bits(delivery.bits),
      m_channels(delivery.channels) {
    const auto output =
        platform::makeHostFormat(delivery.sampleRate, static_cast<std::uint32_t>(delivery.channels),
                                 static_cast<std::uint32_t>(m_deliveredBits));
    const auto frames = static_cast<int>(loop.parser().getLengthInFrames());
    m_data->setSampleConversion(loop.format, frames, loop.parser().getSampleOffset(), output);
    m_data->getSampleConversion(nullptr, &m_frames, nullptr, nullptr);
}

void SampleStream::forEachBlock(const Taker& take) {
    const auto read = [this](int first, int last, int* outLast) {
        return m_data->readSamples(first, last, outLast, true);
    };
    deliver(0, m_frames * m_channels, read, take);
}

void SampleStream::forEachBlockReadAhead(int first, int end, const Taker& take) {
    ReadAhead reader(m_data, first * m_channels, end * m_channels);
    const auto read = [&](int firstSample, int lastSample, int* outLast) {
        const std::exception_ptr failure = reader.awaitSamples(lastSample);
        const void* const samples = m_data->readSamples(firstSample, lastSample, outLast, false);
        if (!samples && failure) std::rethrow_exception(failure);
        return samples;
    };
    deliver(first * m_channels, end * m_channels, read, take);
}

/// Samples `first` to `end` (exclusive).
void SampleStream::deliver(int first, int end, const Reader& read, const Taker& take) {
    while (first < end) {
        int last = first;
        const int wanted = first + std::min(kBlock, end - first) - 1;
        // 0, 0 would ask for the whole stream: what lies behind the one sample is left out below.
        const void* const samples = read(first, wanted, &last);
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
