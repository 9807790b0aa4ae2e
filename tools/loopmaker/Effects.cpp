// SPDX-License-Identifier: MIT
#include "Effects.h"

#include "Filters.h"

#include <array>

namespace loopmaker {
namespace {

/// Runs `effect(index, left, right)` over the signal. A loop's last `warmUp` seconds go first, unheard, over
/// and over when the loop is shorter than that.
template <class Effect>
void run(StereoSignal& signal, const EffectClock& clock, double warmUp, Effect&& effect) {
    const std::size_t frames = signal.left.size();
    const std::size_t before = clock.wraps ? toFrames(warmUp, clock.rate) : 0;
    for (std::size_t i = 0, at = frames - before % frames; i < before; ++i, ++at) {
        if (at >= frames) at -= frames;
        float left = signal.left[at], right = signal.right[at];
        effect(at, left, right);
    }
    for (std::size_t i = 0; i < frames; ++i) effect(i, signal.left[i], signal.right[i]);
}

/// Turns a frame for a swing of about `framesPerCycle`, a whole number of swings in the loop.
double swingStep(const StereoSignal& signal, double framesPerCycle) {
    const auto frames = static_cast<double>(signal.left.size());
    return std::max(1.0, std::round(frames / framesPerCycle)) / frames;
}

float swing(double step, std::size_t frame, float offset = 0) {
    const double turns = step * static_cast<double>(frame);
    return sine(static_cast<float>(turns - std::floor(turns)) + offset);
}

void applyHighPass(float hz, const EffectClock& clock, StereoSignal& signal) {
    StateVariableFilter l, r;
    l.set(hz, 0.7f, clock.rate);
    r.set(hz, 0.7f, clock.rate);
    run(signal, clock, 12.0 / hz, [&](std::size_t, float& left, float& right) {
        left = l.high(left);
        right = r.high(right);
    });
}

/// A low-pass that moves `octaves` up and down, once in the loop.
void applyLowPass(float hz, float octaves, const EffectClock& clock, StereoSignal& signal) {
    StateVariableFilter l, r;
    const double step = swingStep(signal, static_cast<double>(signal.left.size()));
    l.set(hz, 0.8f, clock.rate);
    r.set(hz, 0.8f, clock.rate);
    run(signal, clock, 0.1, [&](std::size_t i, float& left, float& right) {
        if (octaves > 0 && i % 32 == 0) {
            const float now = hz * std::exp2(-octaves * swing(step, i, 0.25f));
            l.set(now, 0.8f, clock.rate);
            r.set(now, 0.8f, clock.rate);
        }
        left = l.low(left);
        right = r.low(right);
    });
}

void applyDrive(float drive, StereoSignal& signal) {
    const float gain = 1.0f + 5.0f * drive, makeUp = 1.0f / (1.0f + 2.2f * drive);
    for (Signal* channel : {&signal.left, &signal.right})
        for (float& x : *channel) x = saturate(x * gain) * makeUp;
}

void applyWah(float level, const EffectClock& clock, StereoSignal& signal) {
    StateVariableFilter l, r;
    const double step = swingStep(signal, clock.framesPerBar / 2);
    run(signal, clock, 0.1, [&](std::size_t i, float& left, float& right) {
        if (i % 32 == 0) {
            const float hz = 900.0f * std::exp2(-1.1f * swing(step, i, 0.2f));
            l.set(hz, 3.0f, clock.rate);
            r.set(hz, 3.0f, clock.rate);
        }
        left += level * (1.8f * l.band(left) - left);
        right += level * (1.8f * r.band(right) - right);
    });
}

/// The channels swing against each other: also an automatic pan.
void applyTremolo(float depth, int steps, const EffectClock& clock, StereoSignal& signal) {
    const double step = swingStep(signal, clock.framesPerStep * steps);
    for (std::size_t i = 0; i < signal.left.size(); ++i) {
        const float s = swing(step, i, 0.25f);
        signal.left[i] *= 1.0f - depth * (0.5f - 0.5f * s);
        signal.right[i] *= 1.0f - depth * (0.5f + 0.3f * s);
    }
}

/// A ring of past samples, readable between frames.
class DelayLine {
public:
    explicit DelayLine(std::size_t frames) : m_ring(frames + 2) {}
    void push(float x) noexcept {
        m_ring[m_at] = x;
        m_at = m_at + 1 < m_ring.size() ? m_at + 1 : 0;
    }
    /// `frames` 1 is the last one pushed; at most the size given at construction.
    float back(std::size_t frames) const noexcept {
        return m_ring[m_at >= frames ? m_at - frames : m_at + m_ring.size() - frames];
    }
    float back(float frames) const noexcept {
        const auto whole = static_cast<std::size_t>(frames);
        const float a = back(whole), b = back(whole + 1);
        return a + (b - a) * (frames - static_cast<float>(whole));
    }

private:
    Signal m_ring;
    std::size_t m_at = 0;
};

void applyChorus(float level, const EffectClock& clock, StereoSignal& signal) {
    const auto ms = static_cast<float>(clock.rate / 1000);
    DelayLine l(toFrames(0.04, clock.rate)), r(toFrames(0.04, clock.rate));
    const double slow = swingStep(signal, clock.rate / 0.55), fast = swingStep(signal, clock.rate / 1.3);
    run(signal, clock, 0.05, [&](std::size_t i, float& left, float& right) {
        l.push(left);
        r.push(right);
        const float a = swing(slow, i), b = swing(slow, i, 0.25f), wobble = 0.3f * swing(fast, i);
        const float wetLeft = l.back(ms * (12 + 3.5f * a + wobble)) + 0.5f * r.back(ms * (17 - 4 * b));
        const float wetRight = r.back(ms * (13 - 3.5f * a - wobble)) + 0.5f * l.back(ms * (19 + 4 * b));
        left = (left + level * wetLeft) / (1.0f + 0.6f * level);
        right = (right + level * wetRight) / (1.0f + 0.6f * level);
    });
}

/// Echoes that go from side to side and grow duller.
void applyDelay(const Effects& effects, const EffectClock& clock, StereoSignal& signal) {
    const auto gap = static_cast<std::size_t>(clock.framesPerStep * effects.delaySteps);
    DelayLine l(gap), r(gap);
    OnePole dull;
    OnePole thin;
    dull.setCutoff(3500, clock.rate);
    thin.setCutoff(250, clock.rate);
    const double echoes = std::ceil(-4.0 / std::log10(std::max(0.05f, effects.feedback)));
    const double warmUp = echoes * static_cast<double>(gap) / clock.rate;
    run(signal, clock, warmUp, [&](std::size_t, float& left, float& right) {
        const float fromLeft = l.back(gap), fromRight = r.back(gap);
        l.push(0.5f * (left + right) + effects.feedback * thin.high(dull.low(fromRight)));
        r.push(fromLeft);
        left += effects.delay * fromLeft;
        right += effects.delay * fromRight;
    });
}

void applyPump(float depth, const EffectClock& clock, StereoSignal& signal) {
    for (std::size_t i = 0; i < signal.left.size(); ++i) {
        const double phase = std::fmod(static_cast<double>(i), clock.framesPerBeat) / clock.framesPerBeat;
        const auto p = static_cast<float>(phase);
        const float down =
            p < 0.04f ? p / 0.04f : std::exp(-(p - 0.04f) * 6.0f) * std::min(1.0f, (1.0f - p) / 0.1f);
        const float gain = 1.0f - depth * down;
        signal.left[i] *= gain;
        signal.right[i] *= gain;
    }
}

/// A feedback delay network of eight lines with a Householder matrix (Jot and Chaigne, "Digital delay
/// networks for designing artificial reverberators", 1991).
class Reverb {
public:
    Reverb(float seconds, double rate) : m_preDelay(toFrames(0.018, rate)), m_before(toFrames(0.018, rate)) {
        constexpr std::array<double, kLines> kMilliseconds = {29.7, 37.1, 41.1, 43.7, 53.3, 59.9, 67.7, 73.1};
        for (std::size_t i = 0; i < kLines; ++i) {
            m_length[i] = toFrames(kMilliseconds[i] / 1000, rate);
            m_line.emplace_back(m_length[i]);
            m_gain[i] = std::pow(0.001f, static_cast<float>(kMilliseconds[i]) / 1000.0f / seconds);
            m_dull[i].setCutoff(5200, rate);
        }
        m_thinLeft.setCutoff(180, rate);
        m_thinRight.setCutoff(180, rate);
    }

    void operator()(float& left, float& right, float level) noexcept {
        m_before.push(0.5f * (left + right));
        const float in = m_before.back(m_preDelay), side = 0.25f * (left - right);
        std::array<float, kLines> out;
        float sum = 0;
        for (std::size_t i = 0; i < kLines; ++i) {
            out[i] = m_dull[i].low(m_line[i].back(m_length[i])) * m_gain[i];
            sum += out[i];
        }
        sum *= 2.0f / kLines;
        for (std::size_t i = 0; i < kLines; ++i)
            m_line[i].push(out[i] - sum + (i % 2 == 0 ? in + side : in - side));
        left += level * m_thinLeft.high(out[0] - out[2] + out[4] - out[6]);
        right += level * m_thinRight.high(out[1] - out[3] + out[5] - out[7]);
    }

private:
    static constexpr std::size_t kLines = 8;
    std::size_t m_preDelay;
    DelayLine m_before;
    std::vector<DelayLine> m_line;
    std::array<std::size_t, kLines> m_length{};
    std::array<float, kLines> m_gain{};
    std::array<OnePole, kLines> m_dull;
    OnePole m_thinLeft, m_thinRight;
};

void applyReverb(float level, float seconds, const EffectClock& clock, StereoSignal& signal) {
    Reverb reverb(seconds, clock.rate);
    run(signal, clock, 1.2 * seconds,
        [&](std::size_t, float& left, float& right) { reverb(left, right, level); });
}

}  // namespace

void applyEffects(const Effects& effects, const EffectClock& clock, StereoSignal& signal) {
    if (signal.left.empty()) return;
    if (effects.highPass > 0) applyHighPass(effects.highPass, clock, signal);
    if (effects.lowPass > 0) applyLowPass(effects.lowPass, effects.sweep, clock, signal);
    if (effects.drive > 0) applyDrive(effects.drive, signal);
    if (effects.wah > 0) applyWah(effects.wah, clock, signal);
    if (effects.tremolo > 0) applyTremolo(effects.tremolo, effects.tremoloSteps, clock, signal);
    if (effects.chorus > 0) applyChorus(effects.chorus, clock, signal);
    if (effects.delay > 0) applyDelay(effects, clock, signal);
    if (effects.pump > 0) applyPump(effects.pump, clock, signal);
    if (effects.reverb > 0) applyReverb(effects.reverb, effects.reverbSeconds, clock, signal);
}

}  // namespace loopmaker
