// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/WrappedIntegersImpl.h>

#include <MarlCore/foundation/CException.h>
#include <MarlCore/platform/ByteOrder.h>

#include <cmath>
#include <cstdint>

namespace marl {
namespace {

using platform::loadHost;
using platform::storeHost;

constexpr double kScaleOf16Bits = 32768;
constexpr float kScaleOf24Bits = 8388608;

/// The lower 32 bits of a whole number of any size, in two's complement; 0 for what is none.
std::uint32_t wrapped(double number) noexcept {
    constexpr double kModulus = 4294967296.0, kHalf = kModulus / 2;
    if (number >= -kHalf && number < kHalf)
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(number));
    if (!std::isfinite(number)) return 0;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::fmod(number, kModulus)));
}

void store16(float value, std::byte* out) noexcept {
    storeHost(out, static_cast<std::uint16_t>(wrapped(std::round(value * kScaleOf16Bits))));
}

void store24(float value, std::byte* out) noexcept {
    const std::uint32_t bits = wrapped(std::rint(value * kScaleOf24Bits));
    for (int i = 0; i < 3; ++i) out[i] = static_cast<std::byte>(bits >> (16 - 8 * i) & 0xFF);
}

void store32(float value, std::byte* out) noexcept {
    storeHost(out, wrapped(std::round(double{value} * double{kScaleOf24Bits})));
}

/// Each sample is read before a place at or behind it is written, so `out` may be `in`.
template <std::size_t bytes, void (*store)(float, std::byte*) noexcept>
void convert(const std::byte* in, std::byte* out, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) store(loadHost<float>(in + i * sizeof(float)), out + i * bytes);
}

}  // namespace

void floatsToWrappedIntegers(const void* in, void* out, std::size_t count, int bytesPerSample) {
    const auto* const floats = static_cast<const std::byte*>(in);
    auto* const integers = static_cast<std::byte*>(out);
    switch (bytesPerSample) {
        case 2:
            return convert<2, store16>(floats, integers, count);
        case 3:
            return convert<3, store24>(floats, integers, count);
        case 4:
            return convert<4, store32>(floats, integers, count);
    }
    throw halyard::CParamException(halyard::kParameterError,
                                   "don't know how to convert to int from sample size = %ld",
                                   long{bytesPerSample});
}

}  // namespace marl
