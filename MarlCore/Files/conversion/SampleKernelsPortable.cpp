// SPDX-License-Identifier: MIT
// The kernels in plain C++: what every host can run, and the reference that the SIMD sets equal bit for bit.
#include <MarlCore/Files/conversion/SampleKernelsImpl.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace marl::conversion {
namespace {

using platform::loadHost;
using platform::reverseBytes;
using platform::storeHost;

using Byte = unsigned char;

enum class Order { host, reversed };

// One sample. The reversals read all of `in` before they write `out`, so the two may be the same.
using OneSample = void (*)(const Byte* in, Byte* out);

template <std::size_t sourceBytes, std::size_t destinationBytes, OneSample convertOne>
void convert(const void* source, void* destination, std::size_t samples) noexcept {
    const Byte* in = static_cast<const Byte*>(source);
    Byte* out = static_cast<Byte*>(destination);
    for (std::size_t i = 0; i < samples; ++i) convertOne(in + i * sourceBytes, out + i * destinationBytes);
}

template <Order order>
std::int16_t load16(const Byte* in) {
    const auto bits = loadHost<std::uint16_t>(in);
    return static_cast<std::int16_t>(order == Order::host ? bits : reverseBytes(bits));
}

template <Order order>
std::int32_t load24(const Byte* in) {
    constexpr bool highFirst = (std::endian::native == std::endian::big) == (order == Order::host);
    const std::uint32_t high = in[highFirst ? 0 : 2];
    const std::uint32_t middle = in[1];
    const std::uint32_t low = in[highFirst ? 2 : 0];
    return static_cast<std::int32_t>(high << 24 | middle << 16 | low << 8) >> 8;
}

void store24(Byte* out, std::int32_t value) {
    constexpr bool highFirst = std::endian::native == std::endian::big;
    out[highFirst ? 0 : 2] = static_cast<Byte>(value >> 16);
    out[1] = static_cast<Byte>(value >> 8);
    out[highFirst ? 2 : 0] = static_cast<Byte>(value);
}

template <class Word>
void reverseOne(const Byte* in, Byte* out) {
    storeHost(out, reverseBytes(loadHost<Word>(in)));
}

void reverseOne24(const Byte* in, Byte* out) {
    store24(out, load24<Order::reversed>(in));
}

void unsigned8To16(const Byte* in, Byte* out) {
    storeHost(out, static_cast<std::int16_t>((in[0] - 128) * 256));
}

void signed8To16(const Byte* in, Byte* out) {
    storeHost(out, static_cast<std::uint16_t>(in[0] << 8));
}

void unsigned8ToFloat(const Byte* in, Byte* out) {
    storeHost(out, static_cast<float>(in[0]) * 0.0078125f - 1.0f);
}

template <Order order>
void int16ToFloat(const Byte* in, Byte* out) {
    storeHost(out, static_cast<float>(load16<order>(in)) * (1.0f / 32768.0f));
}

template <Order order>
void int24ToFloat(const Byte* in, Byte* out) {
    storeHost(out, static_cast<float>(load24<order>(in)) * kScaleOf24);
}

void int16To24(const Byte* in, Byte* out) {
    store24(out, load16<Order::host>(in) * 256);
}

template <Order order>
void int24To16(const Byte* in, Byte* out) {
    storeHost(out, static_cast<std::int16_t>(load24<order>(in) >> 8));
}

// Limited before it is rounded: out of range, the result of a conversion to integer is undefined.
template <int bits>
std::int32_t roundToInteger(const Byte* in) {
    constexpr float fullScale = 1 << (bits - 1);
    const float scaled = loadHost<float>(in) * fullScale;
    const float number = scaled == scaled ? scaled : 0.0f;
    return static_cast<std::int32_t>(std::lrint(std::min(std::max(number, -fullScale), fullScale - 1.0f)));
}

void floatTo16(const Byte* in, Byte* out) {
    storeHost(out, static_cast<std::int16_t>(roundToInteger<16>(in)));
}

void floatTo24(const Byte* in, Byte* out) {
    store24(out, roundToInteger<24>(in));
}

template <class Word>
void duplicateOne(const Byte* in, Byte* out) {
    const Word sample = loadHost<Word>(in);
    storeHost(out, sample);
    storeHost(out + sizeof sample, sample);
}

void duplicateOne24(const Byte* in, Byte* out) {
    for (int i = 0; i < 3; ++i) out[i] = out[3 + i] = in[i];
}

}  // namespace

constinit const SampleKernels kPortableSampleKernels = {
    .level = platform::SimdLevel::portable,
    .reverse16 = convert<2, 2, reverseOne<std::uint16_t>>,
    .reverse24 = convert<3, 3, reverseOne24>,
    .reverse32 = convert<4, 4, reverseOne<std::uint32_t>>,
    .unsigned8To16 = convert<1, 2, unsigned8To16>,
    .signed8To16 = convert<1, 2, signed8To16>,
    .unsigned8ToFloat = convert<1, 4, unsigned8ToFloat>,
    .int16ToFloat = convert<2, 4, int16ToFloat<Order::host>>,
    .reversed16ToFloat = convert<2, 4, int16ToFloat<Order::reversed>>,
    .int24ToFloat = convert<3, 4, int24ToFloat<Order::host>>,
    .reversed24ToFloat = convert<3, 4, int24ToFloat<Order::reversed>>,
    .int16To24 = convert<2, 3, int16To24>,
    .int24To16 = convert<3, 2, int24To16<Order::host>>,
    .reversed24To16 = convert<3, 2, int24To16<Order::reversed>>,
    .floatTo16 = convert<4, 2, floatTo16>,
    .floatTo24 = convert<4, 3, floatTo24>,
    .duplicate16 = convert<2, 4, duplicateOne<std::uint16_t>>,
    .duplicate24 = convert<3, 6, duplicateOne24>,
    .duplicate32 = convert<4, 8, duplicateOne<std::uint32_t>>,
};

}  // namespace marl::conversion
