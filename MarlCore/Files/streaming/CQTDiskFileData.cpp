// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CQTDiskFileData.h>

#include <MarlCore/Files/parsing/SoundMap.h>
#include <MarlCore/Files/streaming/StoredSamplesImpl.h>

#include <algorithm>
#include <array>
#include <bit>

namespace marl {
namespace {

using movie::Stretch;

/// Stored bytes that are decoded at a time: whole samples of 4 and 8 bytes.
constexpr std::size_t kBlockSize = 16384;

}  // namespace

CQTDiskFileData::CQTDiskFileData(const CURLRef& url, bool create, bool dataIsBigEndian)
    : CDiskFileData(url, create, dataIsBigEndian) {}

CQTDiskFileData::~CQTDiskFileData() = default;

const std::shared_ptr<const movie::Movie>& CQTDiskFileData::movie() {
    if (!m_movie) m_movie = std::make_shared<movie::Movie>(movie::readMovie(*this));
    return m_movie;
}

const std::shared_ptr<const movie::Sound>& CQTDiskFileData::sound() {
    if (!m_sound) m_sound = std::make_shared<movie::Sound>(movie::readSound(*this, *movie()));
    return m_sound;
}

void CQTDiskFileData::setSampleConversion(AudioStreamBasicDescription fileFormat, int frames,
                                          long long dataOffset, AudioStreamBasicDescription outputFormat) {
    const movie::SoundDescription& stored = sound()->description;
    if (static_cast<int>(fileFormat.mBitsPerChannel) != stored.reportedBits() ||
        static_cast<int>(fileFormat.mChannelsPerFrame) != stored.channels)
        throw halyard::CParamException(
            halyard::kParameterError, "the movie's sound has %d channels of %d bits (not %u of %u)",
            stored.channels, stored.reportedBits(), fileFormat.mChannelsPerFrame, fileFormat.mBitsPerChannel);
    AudioStreamBasicDescription decoded = fileFormat;
    const std::uint32_t bits = outputFormat.mBitsPerChannel;
    if (fileFormat.mBitsPerChannel == 32 && (bits == 16 || bits == 24)) decoded.mBitsPerChannel = bits;
    CDiskFileData::setSampleConversion(decoded, frames, dataOffset, outputFormat);
    m_fileFormat = fileFormat;
    m_width = static_cast<int>(decoded.mBitsPerChannel / 8);
    m_firstSample = (dataOffset - sound()->map.reportedOffset()) / (fileFormat.mBitsPerChannel / 8);
    setSamplesAreSigned(false);
    setDataIsBigEndian(movie::isAsStored(stored, m_width) ? stored.isBigEndian
                                                          : std::endian::native == std::endian::big);
}

bool CQTDiskFileData::getSampleConversion(AudioStreamBasicDescription* fileFormat, int* frames,
                                          long long* dataOffset, AudioStreamBasicDescription* outputFormat) {
    if (!CDiskFileData::getSampleConversion(fileFormat, frames, dataOffset, outputFormat)) return false;
    if (fileFormat) *fileFormat = m_fileFormat;
    return true;
}

std::span<const std::byte> CQTDiskFileData::readFileSamples(long long first, int count,
                                                            std::span<std::byte> storage) const {
    const auto width = static_cast<std::size_t>(m_width);
    const long long total = m_sound->map.frames() * m_sound->description.channels;
    first = std::clamp(first + m_firstSample, 0LL, total);
    const auto there = static_cast<std::size_t>(std::min<long long>(count, total - first));
    const std::span samples = storage.first(there * width);
    for (std::span rest = samples; !rest.empty();) {
        const long long sample = first + static_cast<long long>((samples.size() - rest.size()) / width);
        const int channels = m_sound->description.channels;
        const Stretch stretch = m_sound->map.at(sample / channels);
        const int skipped = static_cast<int>(sample % channels);
        const auto inStretch = static_cast<std::uint64_t>(stretch.frames * channels - skipped);
        const auto part = rest.first(
            static_cast<std::size_t>(std::min<std::uint64_t>(inStretch, rest.size() / width)) * width);
        readStretch(stretch, skipped, part);
        rest = rest.subspan(part.size());
    }
    return samples;
}

void CQTDiskFileData::readStretch(const movie::Stretch& stretch, int skippedSamples,
                                  std::span<std::byte> samples) const {
    std::size_t there = 0;
    if (stretch.offset != Stretch::kSilence)
        there = readStored(
            stretch.offset + static_cast<long long>(skippedSamples) * m_sound->description.bytesPerSample,
            samples);
    std::ranges::fill(samples.subspan(there), m_width == 1 ? std::byte{0x80} : std::byte{0});
}

std::size_t CQTDiskFileData::readStored(long long offset, std::span<std::byte> samples) const {
    const movie::SoundDescription& stored = m_sound->description;
    const auto width = static_cast<std::size_t>(m_width),
               storedWidth = static_cast<std::size_t>(stored.bytesPerSample);
    if (movie::isAsStored(stored, m_width)) {
        const std::size_t there = readAt(offset, samples);
        return there - there % width;
    }
    alignas(8) std::array<std::byte, kBlockSize> block;
    std::size_t done = 0;
    while (done < samples.size()) {
        const std::size_t wanted = std::min(kBlockSize, (samples.size() - done) / width * storedWidth);
        const std::size_t there = readAt(offset, std::span(block).first(wanted)) / storedWidth;
        movie::decodeSamples(stored, std::span(block).first(there * storedWidth), m_width,
                             samples.subspan(done));
        done += there * width;
        offset += static_cast<long long>(wanted);
        if (there * storedWidth < wanted) break;
    }
    return done;
}

}  // namespace marl
