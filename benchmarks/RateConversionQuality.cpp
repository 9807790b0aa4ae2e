// SPDX-License-Identifier: MIT
// Prints the quality of our sample-rate converter and its peers as a Markdown table. Nothing in it depends on
// the clock: it changes when a converter changes.
//
// Method: a sine at -1 dBFS, stereo float, 2 seconds; over the middle second of the result the sine of the
// same frequency is fitted (least squares, amplitude and phase). Gain is the fitted amplitude against the one
// sent; SNR is the fit against all the rest; of a tone above the new Nyquist frequency, all that comes out is
// counted.
#include "RateConverters.h"

#include <cstdio>
#include <numbers>

namespace {

using namespace rates;

constexpr double kAmplitude = 0.8912509381;  // -1 dBFS

struct Fit {
    double gain, signalToNoise, left;  // dB; `left`: everything that came out, against what went in
};

Samples sine(double frequency, double rate) {
    Samples samples(static_cast<std::size_t>(2 * rate) * kChannels);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto n = static_cast<double>(i / kChannels);
        samples[i] =
            static_cast<float>(kAmplitude * std::sin(2 * std::numbers::pi * frequency / rate * n + 0.5));
    }
    return samples;
}

Fit fit(const Samples& samples, double frequency, double rate) {
    const auto begin = static_cast<std::size_t>(rate / 2), end = static_cast<std::size_t>(rate * 1.5);
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0, yy = 0;
    for (std::size_t n = begin; n < end; ++n) {
        const double x = 2 * std::numbers::pi * frequency / rate * static_cast<double>(n);
        const double s = std::sin(x), c = std::cos(x), y = samples[n * kChannels];
        ss += s * s, cc += c * c, sc += s * c, ys += y * s, yc += y * c, yy += y * y;
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / determinant, b = (yc * ss - ys * sc) / determinant;
    double rest = 0;
    for (std::size_t n = begin; n < end; ++n) {
        const double x = 2 * std::numbers::pi * frequency / rate * static_cast<double>(n);
        const double error = samples[n * kChannels] - a * std::sin(x) - b * std::cos(x);
        rest += error * error;
    }
    const double fitted = a * a + b * b, count = static_cast<double>(end - begin);
    return {10 * std::log10(fitted / (kAmplitude * kAmplitude)), 10 * std::log10(fitted * count / 2 / rest),
            10 * std::log10(yy / (kAmplitude * kAmplitude * count / 2))};
}

Fit measure(const Converter& converter, double frequency, double from, double to) {
    const Samples input = sine(frequency, from);
    Samples output(outputFrames(input, from, to) * kChannels);
    converter.convert(input, from, to, output);
    return fit(output, frequency, to);
}

void printRow(const Converter& converter, double from, double to) {
    const auto at = [&](double frequency) { return measure(converter, frequency, from, to); };
    std::printf("| %g → %g | %s | %.1f / %.1f | %+.4f / %+.4f |", from / 1000, to / 1000, converter.name,
                at(997).signalToNoise, at(10000).signalToNoise, at(18000).gain, at(20000).gain);
    if (from < to) {
        std::puts(" |");
    } else {
        std::printf(" %.1f / %.1f |\n", at(22100).left, at(22800).left);
    }
}

}  // namespace

int main() {
    constexpr double kRatios[][2] = {{44100, 48000}, {48000, 44100}, {96000, 44100}};
    std::puts(
        "| kHz | converter | SNR 997 Hz / 10 kHz (dB) | gain at 18 / 20 kHz (dB) | left of 22.1 / 22.8 kHz "
        "(dB) |");
    std::puts("|---|---|---|---|---|");
    for (const auto& [from, to] : kRatios) {
        for (const Converter& converter : {kOurs, kSoxrHq, kSoxrVhq, kSamplerateMedium, kSamplerateBest}) {
            printRow(converter, from, to);
        }
    }
    return 0;
}
