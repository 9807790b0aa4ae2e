// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Color.h>

#include <MarlCore/platform/KeyedArchiver.h>

#include <algorithm>
#include <array>
#include <bit>

namespace platform {
namespace {

constexpr std::string_view kRedKey = "red", kGreenKey = "green", kBlueKey = "blue", kAlphaKey = "alpha";

std::uint8_t byteOf(float part) noexcept {
    return static_cast<std::uint8_t>(static_cast<double>(part) * 255.0);
}

/// In range before it becomes a float, which cannot hold every number of an archive. No number is 0.
float partOf(const KeyedUnarchiver& coder, std::string_view key) {
    const double part = coder.decodeDouble(key);
    return part > 0 ? static_cast<float>(std::min(part, 1.0)) : 0;
}

}  // namespace

std::uint32_t Color::pixel() const noexcept {
    return std::bit_cast<std::uint32_t>(
        std::array{byteOf(m_red), byteOf(m_green), byteOf(m_blue), byteOf(m_alpha)});
}

Color::Color(const KeyedUnarchiver& coder)
    : Color(partOf(coder, kRedKey), partOf(coder, kGreenKey), partOf(coder, kBlueKey),
            partOf(coder, kAlphaKey)) {}

void Color::encodeWithCoder(KeyedArchiver& coder) const {
    coder.encodeDouble(m_red, kRedKey);
    coder.encodeDouble(m_green, kGreenKey);
    coder.encodeDouble(m_blue, kBlueKey);
    coder.encodeDouble(m_alpha, kAlphaKey);
}

}  // namespace platform
