// SPDX-License-Identifier: MIT
/// \file
/// Samples while they are being made, and the arithmetic that every instrument shares.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace loopmaker {

using Signal = std::vector<float>;  ///< one channel, nominally -1 to 1

/// Two channels of the same length.
struct StereoSignal {
    Signal left;
    Signal right;
};

inline constexpr float kPi = 3.14159265358979f;

/// The nearest whole number of frames; never negative.
inline std::size_t toFrames(double seconds, double rate) noexcept {
    return static_cast<std::size_t>(std::llround(std::max(0.0, seconds * rate)));
}

/// Frequency in Hz of a MIDI note number (69 is 440 Hz; fractions are cents).
inline float pitchToHz(float pitch) noexcept {
    return 440.0f * std::exp2((pitch - 69.0f) / 12.0f);
}

/// Sine of a phase in turns (1 is a whole circle), within 4e-6: the Taylor polynomial of a folded phase. Much
/// cheaper than std::sin, and the same on every host.
inline float sine(float turns) noexcept {
    float x = turns - std::floor(turns + 0.5f);
    if (x > 0.25f) x = 0.5f - x;
    if (x < -0.25f) x = -0.5f - x;
    const float y = 2.0f * kPi * x;
    const float z = y * y;
    return y * (1.0f - z / 6.0f * (1.0f - z / 20.0f * (1.0f - z / 42.0f * (1.0f - z / 72.0f))));
}

/// Soft clipping to -1..1: straight around 0, like tanh (its Padé approximant, exact limits at ±3).
inline float saturate(float x) noexcept {
    const float y = std::clamp(x, -3.0f, 3.0f);
    return y * (27.0f + y * y) / (27.0f + 9.0f * y * y);
}

/// An exponential fall from 1 that is down by 60 dB after `seconds`.
class Decay {
public:
    Decay(float seconds, double rate) noexcept
        : m_factor(std::exp(-6.9078f / (std::max(seconds, 1e-4f) * static_cast<float>(rate)))) {}
    float next() noexcept {
        const float value = m_value;
        m_value *= m_factor;
        return value;
    }

private:
    float m_value = 1.0f;
    float m_factor;
};

/// Ends a signal at zero over its last `frames` frames, so that cutting it there is not heard.
inline void fadeOut(Signal& signal, std::size_t frames) noexcept {
    const std::size_t count = std::min(frames, signal.size());
    for (std::size_t i = 0; i < count; ++i)
        signal[signal.size() - 1 - i] *= static_cast<float>(i) / static_cast<float>(count);
}

}  // namespace loopmaker
