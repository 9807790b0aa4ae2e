// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/GainTaper.h>

#include <cmath>

namespace {

/// Curves below it count as straight lines.
constexpr float kTaperMinimum = 0.00001F;

/// A curve of 1 would divide by 0.
bool isLinear(float curve) noexcept {
    return curve == 1.0F || curve < kTaperMinimum;
}

/// The curve for x >= 0.
double tapered(double curve, double x) noexcept {
    return (std::pow(curve, x) - 1.0) / (curve - 1.0);
}

double untapered(double curve, double x) noexcept {
    return std::log(x * (curve - 1.0) + 1.0) / std::log(curve);
}

float toFloat(double value) noexcept {
    return static_cast<float>(value);
}

}  // namespace

float taperGain(float dB) noexcept {
    const double gain = dB;
    if (gain > 0) return dB;
    if (gain > -24) return toFloat(gain * 0.25);
    if (gain > -48) return toFloat((gain + 24) / 24 * 6 - 6);
    if (gain > -72) return toFloat((gain + 48) / 24 * 12 - 12);
    return toFloat((gain + 72) / 24 * 72 - 24);
}

float untaperGain(float value) noexcept {
    const double place = value;
    if (place > 0) return value;
    if (place > -6) return toFloat(place * 4);
    if (place > -12) return toFloat((place + 6) / 6 * 24 - 24);
    if (place > -24) return toFloat((place + 12) / 12 * 24 - 48);
    return toFloat((place + 24) / 72 * 24 - 72);
}

float doTaper(float curve, float x) noexcept {
    if (isLinear(curve)) return x;
    return toFloat(x < 0 ? -tapered(curve, -x) : tapered(curve, x));
}

float doUntaper(float curve, float x) noexcept {
    if (isLinear(curve)) return x;
    return toFloat(x < 0 ? -untapered(curve, -x) : untapered(curve, x));
}

float nonlinearToLinear(float curve, float x) noexcept {
    if (x < 0) return -doTaper(curve, -x);
    if (x == 0) return 0;
    return toFloat(1.0 - doTaper(curve, toFloat(1.0 - x)));
}

float linearToNonlinear(float curve, float x) noexcept {
    if (x < 0) return doUntaper(curve, x);
    if (x == 0) return 0;
    return toFloat(1.0 - doUntaper(curve, toFloat(1.0 - x)));
}

// Each side hands over how far x is from its end, as a part of the range. Only so do both sides meet at 0,
// and are the two functions each other's inverse: on the negative side the second one has the other sign.

float nonlinearToLinearWithRange(float curve, float x, float negativeRange, float positiveRange) noexcept {
    if (x == 0) return 0;
    const double range = x < 0 ? negativeRange : positiveRange;
    const double t = doTaper(curve, toFloat(1.0 - x / range));
    return toFloat(-(t * range - range));
}

float linearToNonlinearWithRange(float curve, float x, float negativeRange, float positiveRange) noexcept {
    if (x == 0) return 0;
    if (x < 0) {
        const double range = negativeRange;
        const double t = doUntaper(curve, toFloat(x / range - 1.0));
        return toFloat(t * range + range);
    }
    const double range = positiveRange;
    const double t = doUntaper(curve, toFloat(1.0 - x / range));
    return toFloat(-(t * range - range));
}
