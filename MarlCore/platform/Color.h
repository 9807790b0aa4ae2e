// SPDX-License-Identifier: MIT
/// \file
/// A colour with its opacity.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstdint>
#include <string_view>

namespace platform {

class KeyedArchiver;
class KeyedUnarchiver;

/// Red, green, blue and alpha (0 clear, 1 opaque), each from 0 to 1 and independent of the others. A value;
/// can be archived. [any thread]
class MARLCORE_EXPORT Color {
public:
    static constexpr std::string_view kArchiveName = "Color";

    /// Parts outside of 0 to 1 are brought to the nearer end; what is no number is 0.
    constexpr Color(float red, float green, float blue, float alpha = 1) noexcept
        : m_red(bounded(red)), m_green(bounded(green)), m_blue(bounded(blue)), m_alpha(bounded(alpha)) {}

    constexpr float red() const noexcept { return m_red; }
    constexpr float green() const noexcept { return m_green; }
    constexpr float blue() const noexcept { return m_blue; }
    constexpr float alpha() const noexcept { return m_alpha; }

    /// The pixel of a `BitmapImageRep`: its bytes in memory are red, green, blue and alpha on every host,
    /// each part times 255 without its fraction.
    std::uint32_t pixel() const noexcept;

    explicit Color(const KeyedUnarchiver& coder);
    void encodeWithCoder(KeyedArchiver& coder) const;

    friend constexpr bool operator==(const Color&, const Color&) = default;

private:
    static constexpr float bounded(float part) noexcept {
        if (!(part > 0)) return 0;
        return part < 1 ? part : 1;
    }

    float m_red, m_green, m_blue, m_alpha;
};

}  // namespace platform
