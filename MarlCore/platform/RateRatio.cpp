// SPDX-License-Identifier: MIT
#include <MarlCore/platform/RateRatio.h>

#include <cmath>

namespace platform {
namespace {

bool isConvertible(double inputRate, double outputRate) noexcept {
    if (!std::isfinite(inputRate) || !std::isfinite(outputRate) || inputRate <= 0 || outputRate <= 0)
        return false;
    const double ratio = inputRate / outputRate;
    return ratio <= RateRatio::kExtreme && ratio >= 1 / RateRatio::kExtreme;
}

}  // namespace

// Euclid's algorithm on the two rates, whose quotients are the terms of the continued fraction. `fmod` is
// exact, so it ends with the reduced fraction where that is small enough.
std::optional<RateRatio> RateRatio::fromRates(double inputRate, double outputRate) noexcept {
    if (!isConvertible(inputRate, outputRate)) return std::nullopt;
    double inputs = 1, outputs = 0, inputsBefore = 0, outputsBefore = 1;
    for (double a = inputRate, b = outputRate; b > 0;) {
        const double rest = std::fmod(a, b);
        const double term = std::round((a - rest) / b);
        const double nextInputs = term * inputs + inputsBefore;
        const double nextOutputs = term * outputs + outputsBefore;
        if (nextInputs > kLimit || nextOutputs > kLimit) break;
        inputsBefore = inputs, outputsBefore = outputs;
        inputs = nextInputs, outputs = nextOutputs;
        a = b, b = rest;
    }
    return RateRatio{static_cast<std::uint32_t>(inputs), static_cast<std::uint32_t>(outputs)};
}

}  // namespace platform
