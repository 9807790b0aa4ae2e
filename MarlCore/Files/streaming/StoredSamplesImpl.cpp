// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/StoredSamplesImpl.h>

#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace marl::movie {
namespace {

template <class Word>
Word loadWord(const std::byte* bytes, bool isBigEndian) noexcept {
    const auto word = platform::loadHost<Word>(bytes);
    return isBigEndian == (std::endian::native == std::endian::big) ? word : platform::reverseBytes(word);
}

/// The upper `width` bytes of `value`, in host order.
void storeUpper(std::int32_t value, int width, std::byte* sample) noexcept {
    const auto bits = static_cast<std::uint32_t>(value);
    if (width == 2) return platform::storeHost(sample, static_cast<std::uint16_t>(bits >> 16));
    for (int i = 0; i < 3; ++i) {
        const int place = std::endian::native == std::endian::big ? 2 - i : i;
        sample[place] = static_cast<std::byte>(bits >> (8 * (i + 1)));
    }
}

/// The nearest integer of `width` bytes, in the upper bytes of 32 bits; what is beyond is clipped, and what
/// is no number is silence.
std::int32_t integerOf(double value, int width) noexcept {
    if (std::isnan(value)) return 0;
    const int bits = 8 * width;
    const double scale = std::ldexp(1.0, bits - 1);
    const double clipped = std::clamp(value * scale, -scale, scale - 1);
    return static_cast<std::int32_t>(std::lrint(clipped)) * (1 << (32 - bits));
}

struct Decoder {
    const SoundDescription& sound;
    int width;

    void decode(const std::byte* stored, std::byte* sample) const noexcept {
        if (!sound.isFloat) {
            decodeInteger(static_cast<std::int32_t>(loadWord<std::uint32_t>(stored, sound.isBigEndian)),
                          sample);
        } else if (sound.bytesPerSample == 4) {
            decodeFloat(std::bit_cast<float>(loadWord<std::uint32_t>(stored, sound.isBigEndian)), sample);
        } else {
            decodeFloat(std::bit_cast<double>(loadWord<std::uint64_t>(stored, sound.isBigEndian)), sample);
        }
    }

private:
    void decodeInteger(std::int32_t value, std::byte* sample) const noexcept {
        if (width == 4) return platform::storeHost(sample, static_cast<float>(value) * 0x1p-31F);
        storeUpper(value, width, sample);
    }

    void decodeFloat(double value, std::byte* sample) const noexcept {
        if (width == 4) return platform::storeHost(sample, static_cast<float>(value));
        storeUpper(integerOf(value, width), width, sample);
    }
};

}  // namespace

void decodeSamples(const SoundDescription& sound, std::span<const std::byte> stored, int width,
                   std::span<std::byte> samples) noexcept {
    if (sound.bytesPerSample == 1) {
        std::ranges::transform(stored, samples.begin(), [](std::byte b) { return b ^ std::byte{0x80}; });
        return;
    }
    const Decoder decoder{sound, width};
    const auto from = static_cast<std::size_t>(sound.bytesPerSample), to = static_cast<std::size_t>(width);
    const std::size_t count = std::min(stored.size() / from, samples.size() / to);
    for (std::size_t i = 0; i < count; ++i) decoder.decode(stored.data() + i * from, samples.data() + i * to);
}

}  // namespace marl::movie
