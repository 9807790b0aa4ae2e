// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PlanarSamples.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace platform {
namespace {

// Each codec reads and writes one sample at any address. The loops below are vectorised by the compiler
// around them, so they have no branches.

struct Float32 {
    static constexpr std::size_t kBytes = 4;

    static float read(const std::byte* bytes) noexcept {
        float value;
        std::memcpy(&value, bytes, sizeof value);
        return std::abs(value) <= std::numeric_limits<float>::max() ? value : 0.0f;
    }
    static void write(float value, std::byte* bytes) noexcept { std::memcpy(bytes, &value, sizeof value); }
};

// In double, where scaling and adding a half are exact.
template <int Bits>
std::int32_t toInteger(float value) noexcept {
    constexpr double kScale = 1 << (Bits - 1);
    const double scaled = std::clamp(value * kScale, -kScale, kScale - 1);
    return static_cast<std::int32_t>(scaled + std::copysign(0.5, scaled));
}

struct Int16 {
    static constexpr std::size_t kBytes = 2;

    static float read(const std::byte* bytes) noexcept {
        std::int16_t value;
        std::memcpy(&value, bytes, sizeof value);
        return static_cast<float>(value) * 0x1p-15f;
    }
    static void write(float value, std::byte* bytes) noexcept {
        const auto sample = static_cast<std::int16_t>(toInteger<16>(value));
        std::memcpy(bytes, &sample, sizeof sample);
    }
};

struct Int24 {
    static constexpr std::size_t kBytes = 3;
    static constexpr bool kBigEndian = std::endian::native == std::endian::big;
    static constexpr std::size_t kHigh = kBigEndian ? 0 : 2;
    static constexpr std::size_t kLow = kBigEndian ? 2 : 0;

    static float read(const std::byte* bytes) noexcept {
        const auto top = std::to_integer<std::uint32_t>(bytes[kHigh]) << 24 |
                         std::to_integer<std::uint32_t>(bytes[1]) << 16 |
                         std::to_integer<std::uint32_t>(bytes[kLow]) << 8;
        return static_cast<float>(static_cast<std::int32_t>(top)) * 0x1p-31f;
    }
    static void write(float value, std::byte* bytes) noexcept {
        const auto sample = static_cast<std::uint32_t>(toInteger<24>(value));
        bytes[kHigh] = static_cast<std::byte>(sample >> 16);
        bytes[1] = static_cast<std::byte>(sample >> 8);
        bytes[kLow] = static_cast<std::byte>(sample);
    }
};

template <class Codec>
void split(std::span<const std::byte> bytes, std::span<float* const> planes, std::size_t offset) noexcept {
    const std::size_t frameBytes = Codec::kBytes * planes.size();
    const std::size_t frames = bytes.size() / frameBytes;
    if (planes.size() == 2) {  // both channels in one loop, which vectorises with a constant stride
        float* __restrict left = planes[0] + offset;
        float* __restrict right = planes[1] + offset;
        for (std::size_t i = 0; i < frames; ++i) {
            left[i] = Codec::read(bytes.data() + 2 * i * Codec::kBytes);
            right[i] = Codec::read(bytes.data() + (2 * i + 1) * Codec::kBytes);
        }
        return;
    }
    for (std::size_t c = 0; c < planes.size(); ++c) {
        const std::byte* source = bytes.data() + c * Codec::kBytes;
        float* __restrict plane = planes[c] + offset;
        for (std::size_t i = 0; i < frames; ++i) plane[i] = Codec::read(source + i * frameBytes);
    }
}

template <class Codec>
void join(std::span<const float* const> planes, std::size_t frames, std::byte* __restrict bytes) noexcept {
    if (planes.size() == 2) {
        const float* left = planes[0];
        const float* right = planes[1];
        for (std::size_t i = 0; i < frames; ++i) {
            Codec::write(left[i], bytes + 2 * i * Codec::kBytes);
            Codec::write(right[i], bytes + (2 * i + 1) * Codec::kBytes);
        }
        return;
    }
    const std::size_t frameBytes = Codec::kBytes * planes.size();
    for (std::size_t c = 0; c < planes.size(); ++c) {
        const float* plane = planes[c];
        std::byte* target = bytes + c * Codec::kBytes;
        for (std::size_t i = 0; i < frames; ++i) Codec::write(plane[i], target + i * frameBytes);
    }
}

}  // namespace

void samplesToPlanes(SampleType type, std::span<const std::byte> bytes, std::span<float* const> planes,
                     std::size_t offset) noexcept {
    switch (type) {
        case SampleType::int16:
            return split<Int16>(bytes, planes, offset);
        case SampleType::int24:
            return split<Int24>(bytes, planes, offset);
        case SampleType::float32:
            return split<Float32>(bytes, planes, offset);
    }
}

void planesToSamples(SampleType type, std::span<const float* const> planes, std::size_t frames,
                     std::byte* bytes) noexcept {
    switch (type) {
        case SampleType::int16:
            return join<Int16>(planes, frames, bytes);
        case SampleType::int24:
            return join<Int24>(planes, frames, bytes);
        case SampleType::float32:
            return join<Float32>(planes, frames, bytes);
    }
}

}  // namespace platform
