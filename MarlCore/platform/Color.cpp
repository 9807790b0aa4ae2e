// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Color.h>

#include <MarlCore/platform/KeyedArchiver.h>

#include <array>
#include <bit>

namespace platform {
namespace {

constexpr std::string_view kRedKey = "red", kGreenKey = "green", kBlueKey = "blue", kAlphaKey = "alpha";

std::uint8_t byteOf(float part) noexcept {
    return static_cast<std::uint8_t>(static_cast<double>(part) * 255.0);
}

/// Numbers that are no floats must not become any.
float partOf(const KeyedUnarchiver& coder, std::string_view key) {
    const double part = coder.decodeDouble(key);
    return part < 1 ? static_cast<float>(part) : 1;
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
