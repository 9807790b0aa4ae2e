// SPDX-License-Identifier: MIT
#include "StreamedFiles.h"

#include "support/OpenedFile.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <sstream>

namespace support {

using marl::CDiskFileData;
using platform::AudioStreamBasicDescription;
using platform::makeHostFormat;

namespace {

/// Reaches the pool as a class that derives from the strategy does; there is no object of it.
struct Pool : CDiskFileData {
    static auto& entries() { return g_bufferPoolEntryArray; }
    static auto& mutex() { return g_bufferPoolMutex; }
};

}  // namespace

PoolOf::PoolOf(int count) {
    remove();
    CDiskFileData::AllocateBufferPool(count);
}

PoolOf::~PoolOf() {
    remove();
}

void PoolOf::remove() {
    Pool::entries().clear();
    Pool::mutex() = nullptr;
}

std::size_t PoolOf::size() {
    return Pool::entries().size();
}

marl::CBufferPoolEntry& PoolOf::entry(std::size_t index) {
    return *Pool::entries()[index];
}

std::size_t PoolOf::indexOf(const marl::CBufferPoolEntryRef& entry) {
    const auto place = std::ranges::find(Pool::entries(), entry);
    return static_cast<std::size_t>(place - Pool::entries().begin());
}

AudioStreamBasicDescription StreamCase::fileFormat() const {
    return makeHostFormat(fileRate, static_cast<std::uint32_t>(channels),
                          static_cast<std::uint32_t>(fileBits));
}

AudioStreamBasicDescription StreamCase::outputFormat() const {
    return makeHostFormat(outputRate, static_cast<std::uint32_t>(outputChannels),
                          static_cast<std::uint32_t>(outputBits));
}

std::string StreamCase::name() const {
    std::ostringstream text;
    text << fileBits << " to " << outputBits << " bits, " << channels << " to " << outputChannels
         << " channels, " << fileRate << " to " << outputRate << " Hz, " << frames << " frames, "
         << (bigEndian ? "big-endian" : "little-endian");
    return text.str();
}

namespace {

/// Random samples; floats are finite and in range.
std::string randomSamples(const StreamCase& wanted, std::uint32_t seed) {
    std::mt19937 random(seed);
    const auto count = static_cast<std::size_t>(wanted.frames) * static_cast<std::size_t>(wanted.channels);
    std::string bytes(count * static_cast<std::size_t>(wanted.fileBits) / 8, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    if (wanted.fileBits == 32) {
        // The upper exponent bits fixed: magnitudes from 2^-31 to 1.
        for (std::size_t i = wanted.bigEndian ? 0 : 3; i < bytes.size(); i += 4)
            bytes[i] = static_cast<char>((bytes[i] & 0x8F) | 0x30);
    }
    return bytes;
}

}  // namespace

RawFile::RawFile(const StreamCase& wanted, std::uint32_t seed)
    : m_case(wanted),
      m_samples(randomSamples(wanted, seed)),
      m_path(m_folder.write("samples",
                            std::string(kOffset, '\x7E') + m_samples + std::string(100000, '\x7E'))) {}

CURLRef RawFile::url() const {
    return urlOf(m_path);
}

std::string RawFile::wholeConversion() const {
    const auto data = open<marl::CMemoryFileData>();
    int last = -1;
    const void* const samples = data->readSamples(0, 0, &last, true);
    if (!samples) return {};
    return std::string(static_cast<const char*>(samples),
                       static_cast<std::size_t>(last + 1) * m_case.outputWidth());
}

std::string readStreamed(marl::IFileData& data, const StreamCase& wanted, std::uint32_t orderSeed) {
    int frames = 0;
    data.getSampleConversion(nullptr, &frames, nullptr, nullptr);
    const int samples = frames * wanted.outputChannels;
    const int length = static_cast<int>(marl::CBufferPoolEntry::kBufferSize / wanted.outputWidth());
    std::vector<int> starts;
    for (int first = 0; first < samples; first += length) starts.push_back(first);
    if (orderSeed != 0) std::ranges::shuffle(starts, std::mt19937(orderSeed));
    std::string bytes(static_cast<std::size_t>(samples) * wanted.outputWidth(), '\x55');
    for (const int first : starts) {
        int last = -1;
        const int wantedLast = first == 0 && samples == 1 ? 0 : std::min(first + length, samples) - 1;
        const void* const slice = data.readSamples(first, wantedLast, &last, true);
        std::memcpy(bytes.data() + static_cast<std::size_t>(first) * wanted.outputWidth(), slice,
                    static_cast<std::size_t>(last - first + 1) * wanted.outputWidth());
    }
    return bytes;
}

}  // namespace support
