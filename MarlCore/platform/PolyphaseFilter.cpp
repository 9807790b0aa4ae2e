// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PolyphaseFilter.h>

#include <MarlCore/platform/LowPassKernel.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <vector>

namespace platform {
namespace {

constexpr std::size_t kRowAlignment = 8;  // floats: the width of the kernels' vectors

// Three-point interpolation of a sine of w radians a phase is wrong by at most 0.064 w^3 (Lagrange remainder
// at the worst place): -138 dB at the slower rate's Nyquist frequency, far less where music is.
constexpr double kPhasesPerSlowSample = 256;

std::size_t roundUp(std::size_t value, std::size_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

}  // namespace

std::shared_ptr<const PolyphaseFilter> PolyphaseFilter::shared(RateRatio ratio) {
    static std::mutex mutex;
    static std::vector<std::shared_ptr<const PolyphaseFilter>> remembered;  // used last comes first
    const std::lock_guard lock(mutex);
    auto found = std::ranges::find(remembered, ratio, [](const auto& filter) { return filter->ratio(); });
    if (found == remembered.end()) {
        auto filter = std::make_shared<const PolyphaseFilter>(ratio);
        if (remembered.size() == kRemembered) remembered.pop_back();
        found = remembered.insert(remembered.end(), std::move(filter));
    }
    std::rotate(remembered.begin(), found, found + 1);
    return remembered.front();
}

PolyphaseFilter::PolyphaseFilter(RateRatio ratio)
    : m_ratio(ratio), m_scale(std::min(1.0, double(ratio.outputFrames) / ratio.inputFrames)) {
    m_halfLength = static_cast<std::size_t>(std::ceil(LowPassKernel::kWidth / 2.0 / m_scale - 0.5));
    const std::size_t largestStep = (ratio.inputFrames + ratio.outputFrames - 1) / ratio.outputFrames;
    m_rowLength = roundUp(tapCount() + largestStep, kRowAlignment);  // of a pair, whose rows are a step apart

    // Where the useless row of an odd period would count, two periods are taken for one.
    const std::int64_t repeats = ratio.outputFrames % 2 == 1 && ratio.outputFrames < 16 ? 2 : 1;
    const std::int64_t largestPeriod =
        static_cast<std::int64_t>(kLargestBank / sizeof(float) / m_rowLength) - 1;
    if (repeats * ratio.outputFrames <= largestPeriod) {
        m_outputsPerPeriod = repeats * ratio.outputFrames;
        m_inputsPerPeriod = repeats * ratio.inputFrames;
        buildPeriod();
    } else {
        m_rowLength = roundUp(tapCount(), kRowAlignment);
        m_phases = static_cast<std::int64_t>(std::ceil(kPhasesPerSlowSample * m_scale));
        buildPhases();
    }
}

// The products stay below 2^63: both numbers of the ratio are at most 2^30, and whole periods are split off.
PolyphaseFilter::Position PolyphaseFilter::positionOf(std::int64_t outputFrame) const noexcept {
    const std::int64_t inputs = m_ratio.inputFrames, outputs = m_ratio.outputFrames;
    const std::int64_t twiceTime = outputFrame % outputs * inputs * 2;  // in units of half an output's share
    const std::int64_t nearest = (twiceTime + outputs) / (2 * outputs);
    const double offset =
        static_cast<double>(twiceTime - nearest * 2 * outputs) / static_cast<double>(2 * outputs);
    return {outputFrame / outputs * inputs + nearest, offset};
}

std::int64_t PolyphaseFilter::firstInput(std::int64_t outputFrame) const noexcept {
    const std::int64_t isSecond = isPeriodic() ? outputFrame % m_outputsPerPeriod % 2 : 0;
    return positionOf(outputFrame - isSecond).nearest - static_cast<std::int64_t>(m_halfLength);
}

const float* PolyphaseFilter::pairRows(std::int64_t pair) const noexcept {
    return m_bank.data() + static_cast<std::size_t>(2 * pair) * m_rowLength;
}

// The weights of the input frames from `m_halfLength` before to `m_halfLength` after the nearest one.
void PolyphaseFilter::sampleKernel(double offset, std::span<float> taps) const {
    if (m_ratio == RateRatio{}) {  // equal rates: nothing to filter
        taps[m_halfLength] = 1;
        return;
    }
    std::vector<double> times(taps.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        times[i] = (static_cast<double>(i) - static_cast<double>(m_halfLength) - offset) * m_scale;
    }
    LowPassKernel::shared().evaluate(times, times);
    std::ranges::transform(times, taps.begin(),
                           [&](double value) { return static_cast<float>(value * m_scale); });
}

void PolyphaseFilter::buildPeriod() {
    m_bank.resize(static_cast<std::size_t>(2 * pairsPerPeriod()) * m_rowLength);
    for (std::int64_t output = 0; output < m_outputsPerPeriod; ++output) {
        const Position position = positionOf(output);
        if (output % 2 == 0) m_pairStarts.push_back(firstInput(output));
        const std::int64_t shift = position.nearest - positionOf(output / 2 * 2).nearest;
        const std::size_t begin =
            static_cast<std::size_t>(output) * m_rowLength + static_cast<std::size_t>(shift);
        sampleKernel(position.offset, std::span(m_bank).subspan(begin, tapCount()));
    }
}

void PolyphaseFilter::buildPhases() {
    m_bank.resize(static_cast<std::size_t>(m_phases + 3) * m_rowLength);
    for (std::int64_t phase = -1; phase <= m_phases + 1; ++phase) {
        const double offset = static_cast<double>(phase) / static_cast<double>(m_phases) - 0.5;
        const std::size_t begin = static_cast<std::size_t>(phase + 1) * m_rowLength;
        sampleKernel(offset, std::span(m_bank).subspan(begin, tapCount()));
    }
}

// Lagrange's polynomial through the phases before, at and after the nearest one.
PolyphaseFilter::Blend PolyphaseFilter::blend(std::int64_t outputFrame) const noexcept {
    const Position position = positionOf(outputFrame);
    const double phase = (position.offset + 0.5) * static_cast<double>(m_phases);
    const auto middle = static_cast<std::size_t>(phase + 0.5);
    const auto d = static_cast<float>(phase - static_cast<double>(middle));  // -0.5 to 0.5
    return {m_bank.data() + middle * m_rowLength,
            {d * (d - 1) / 2, 1 - d * d, d * (d + 1) / 2},
            position.nearest - static_cast<std::int64_t>(m_halfLength)};
}

}  // namespace platform
