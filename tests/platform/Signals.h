// SPDX-License-Identifier: MIT
/// \file
/// Test tones, and what is left of them after a conversion.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <span>
#include <vector>

namespace platform::testing_signals {

inline constexpr double kAmplitude = 0.8912509381;  // -1 dBFS

inline double sineAt(double frequency, double seconds) {
    return kAmplitude * std::sin(2 * std::numbers::pi * frequency * seconds + 0.5);
}

inline std::vector<float> sine(double frequency, double rate, std::size_t frames) {
    std::vector<float> samples(frames);
    for (std::size_t n = 0; n < frames; ++n) {
        samples[n] = static_cast<float>(sineAt(frequency, static_cast<double>(n) / rate));
    }
    return samples;
}

inline std::vector<float> noise(std::size_t count, std::uint32_t seed) {
    std::minstd_rand random(seed);
    std::uniform_real_distribution<float> level(-0.7f, 0.7f);
    std::vector<float> samples(count);
    for (float& sample : samples) sample = level(random);
    return samples;
}

inline double decibels(double power) {
    return 10 * std::log10(power + 1e-300);
}

/// What a stretch of samples, cut from the middle of a conversion, holds of a sine of `kAmplitude`.
struct Fit {
    double gain;           ///< dB: the fitted sine against the one sent
    double signalToNoise;  ///< dB: the fitted sine against everything else
    double level;          ///< dB: everything, against the sine sent
};

/// Least-squares fit of amplitude and phase.
inline Fit fitSine(std::span<const float> samples, double frequency, double rate) {
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0, yy = 0;
    const double step = 2 * std::numbers::pi * frequency / rate;
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double s = std::sin(step * static_cast<double>(n)), c = std::cos(step * static_cast<double>(n));
        const double y = samples[n];
        ss += s * s, cc += c * c, sc += s * c, ys += y * s, yc += y * c, yy += y * y;
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / determinant, b = (yc * ss - ys * sc) / determinant;
    double rest = 0;
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double x = step * static_cast<double>(n);
        const double error = samples[n] - a * std::sin(x) - b * std::cos(x);
        rest += error * error;
    }
    const double half = static_cast<double>(samples.size()) / 2, sent = kAmplitude * kAmplitude;
    return {decibels((a * a + b * b) / sent), decibels((a * a + b * b) * half / rest),
            decibels(yy / half / sent)};
}

}  // namespace platform::testing_signals
