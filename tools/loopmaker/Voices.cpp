// SPDX-License-Identifier: MIT
#include "Voices.h"

#include "Filters.h"

#include <array>

namespace loopmaker {
namespace {

constexpr std::size_t kControlFrames = 16;  // pitch and filter move in steps of this many frames

/// Straight attack, exponential decay to the sustain level, exponential release.
class Envelope {
public:
    Envelope(const EnvelopeTimes& times, double noteSeconds, double rate)
        : m_attackStep(1.0f / std::max(1.0f, times.attack * static_cast<float>(rate))),
          m_decayStep(stepFor(times.decay / 3.0f, rate)),
          m_releaseStep(stepFor(times.release / 4.6f, rate)),
          m_sustain(times.sustain),
          m_held(toFrames(noteSeconds, rate)) {}

    float next() noexcept {
        if (m_frame++ >= m_held)
            m_value -= m_value * m_releaseStep;
        else if (m_attacking)
            rise();
        else
            m_value += (m_sustain - m_value) * m_decayStep;
        return m_value;
    }

private:
    static float stepFor(float seconds, double rate) {
        return 1.0f - std::exp(-1.0f / (std::max(seconds, 1e-4f) * static_cast<float>(rate)));
    }
    void rise() noexcept {
        m_value += m_attackStep;
        m_attacking = m_value < 1.0f;
    }

    float m_attackStep, m_decayStep, m_releaseStep, m_sustain;
    std::size_t m_held;
    std::size_t m_frame = 0;
    float m_value = 0;
    bool m_attacking = true;
};

/// Rounds the corner of a naive waveform's step (Välimäki and Huovilainen, "Antialiasing oscillators in
/// subtractive synthesis", 2007); `phase` and `step` in turns.
float blep(float phase, float step) noexcept {
    if (phase < step) {
        const float t = phase / step;
        return t + t - t * t - 1.0f;
    }
    if (phase > 1.0f - step) {
        const float t = (phase - 1.0f) / step;
        return t * t + t + t + 1.0f;
    }
    return 0.0f;
}

float saw(float phase, float step) noexcept {
    return 2.0f * phase - 1.0f - blep(phase, step);
}

float square(float phase, float step) noexcept {
    const float opposite = phase < 0.5f ? phase + 0.5f : phase - 0.5f;
    return saw(phase, step) - saw(opposite, step);
}

float triangle(float phase) noexcept {
    return 1.0f - 4.0f * std::abs(phase - 0.5f);
}

/// Up to seven detuned oscillators of one note.
class Oscillators {
public:
    Oscillators(const SubtractiveSound& sound, Random& random) : m_wave(sound.wave) {
        m_count = static_cast<std::size_t>(std::clamp(sound.unison, 1, static_cast<int>(m_phase.size())));
        for (std::size_t i = 0; i < m_count; ++i) {
            const float spread =
                m_count == 1 ? 0.0f : 2.0f * static_cast<float>(i) / static_cast<float>(m_count - 1) - 1;
            m_ratio[i] = std::exp2(spread * sound.detune / 1200.0f);
            m_phase[i] = m_count == 1 ? 0.5f : random.uniform();  // a saw crosses zero at half a turn
        }
        m_gain = 1.0f / std::sqrt(static_cast<float>(m_count));
    }

    void setStep(float step) noexcept {
        for (std::size_t i = 0; i < m_count; ++i) m_step[i] = step * m_ratio[i];
    }

    float next() noexcept {
        float sum = 0;
        for (std::size_t i = 0; i < m_count; ++i) {
            sum += shape(m_phase[i], m_step[i]);
            m_phase[i] += m_step[i];
            if (m_phase[i] >= 1.0f) m_phase[i] -= 1.0f;
        }
        return sum * m_gain;
    }

private:
    float shape(float phase, float step) const noexcept {
        if (m_wave == Wave::Saw) return saw(phase, step);
        return m_wave == Wave::Square ? square(phase, step) : triangle(phase);
    }

    Wave m_wave;
    std::size_t m_count = 1;
    float m_gain = 1;
    std::array<float, 7> m_phase{}, m_step{}, m_ratio{};
};

/// Pitch of a note over time: glide and vibrato.
class PitchCurve {
public:
    PitchCurve(const Note& note, float vibratoCents) : m_note(note), m_vibrato(vibratoCents / 100.0f) {}
    float at(float seconds) const noexcept {
        float pitch = m_note.pitch;
        if (m_note.glideFrom >= 0) pitch += (m_note.glideFrom - m_note.pitch) * std::exp(-seconds / 0.035f);
        if (m_vibrato > 0) pitch += m_vibrato * std::min(1.0f, seconds / 0.6f) * sine(5.4f * seconds);
        return pitch;
    }

private:
    const Note& m_note;
    float m_vibrato;
};

/// The low-pass filter of a subtractive voice, two in a row, and what moves it.
class VoiceFilter {
public:
    VoiceFilter(const SubtractiveSound& sound, const Note& note, double rate)
        : m_envelope(sound.filter, note.seconds, rate),
          m_cutoff(sound.cutoff *
                   std::exp2((note.pitch - 60.0f) / 36.0f)),  // a third of the keyboard's slope
          m_sweep(sound.sweep * (0.35f + 0.65f * note.velocity)),
          m_q(sound.q),
          m_rate(rate) {}

    /// One step of the envelope; the filter itself follows every `kControlFrames`.
    void advance(bool control) noexcept {
        const float opened = m_envelope.next();
        if (!control) return;
        const float hz = m_cutoff * std::exp2(m_sweep * opened);
        m_first.set(hz, m_q, m_rate);
        m_second.set(hz, 0.7f, m_rate);
    }
    float low(float x) noexcept { return m_second.low(m_first.low(x)); }

private:
    Envelope m_envelope;
    float m_cutoff, m_sweep, m_q;
    double m_rate;
    StateVariableFilter m_first, m_second;
};

Signal playSound(const SubtractiveSound& sound, const Note& note, double rate, Random& random) {
    Signal out(toFrames(note.seconds + 1.5 * sound.amp.release, rate));
    Oscillators oscillators(sound, random);
    VoiceFilter filter(sound, note, rate);
    Envelope amp(sound.amp, note.seconds, rate);
    const PitchCurve curve(note, sound.vibrato);
    const float perSecond = 1.0f / static_cast<float>(rate);
    float subPhase = 0, step = 0;
    for (std::size_t i = 0; i < out.size(); ++i) {
        const bool control = i % kControlFrames == 0;
        if (control) {
            step = pitchToHz(curve.at(static_cast<float>(i) * perSecond)) * perSecond;
            oscillators.setStep(step);
        }
        filter.advance(control);
        float x = filter.low(oscillators.next()) + sound.sub * sine(subPhase);
        subPhase += step;
        if (subPhase >= 1.0f) subPhase -= 1.0f;
        if (sound.drive > 0) x = saturate(x * (1.0f + 4.0f * sound.drive)) * (1.0f - 0.4f * sound.drive);
        out[i] = 0.5f * x * amp.next();
    }
    return out;
}

void addPair(Signal& out, const FMSound::Pair& pair, const Note& note, double rate) {
    const float step = pitchToHz(note.pitch) / static_cast<float>(rate);
    const float index = pair.index * (0.25f + 0.75f * note.velocity) / (2.0f * kPi);
    Decay bright(pair.indexDecay, rate), fall(pair.decay, rate);
    float carrier = 0, modulator = 0;
    for (float& x : out) {
        x += pair.level * fall.next() * sine(carrier + index * bright.next() * sine(modulator));
        carrier += step * pair.carrier;
        modulator += step * pair.modulator;
        carrier -= std::floor(carrier);
        modulator -= std::floor(modulator);
    }
}

/// The envelope of instruments that die away by themselves: only attack and release.
void shapeKey(Signal& out, float attack, float release, const Note& note, double rate) {
    Envelope amp({attack, 1.0f, 1.0f, release}, note.seconds, rate);
    for (float& x : out) x *= amp.next();
}

Signal playSound(const FMSound& sound, const Note& note, double rate, Random&) {
    Signal out(toFrames(note.seconds + 1.5 * sound.release, rate));
    addPair(out, sound.body, note, rate);
    addPair(out, sound.strike, note, rate);
    shapeKey(out, sound.attack, sound.release, note, rate);
    return out;
}

/// The string's shape at the pluck: filtered noise, with the notches of the plucking position.
Signal excitation(const PluckSound& sound, const Note& note, std::size_t length, Random& random) {
    Signal noise(length), shaped(length);
    OnePole felt;
    felt.setCutoff((0.02f + 0.4f * sound.brightness * note.velocity) * 44100.0f, 44100);
    for (float& x : noise) x = felt.low(random.bipolar());
    const auto notch =
        std::max<std::size_t>(1, static_cast<std::size_t>(sound.position * static_cast<float>(length)));
    float mean = 0, peak = 1e-6f;
    for (std::size_t i = 0; i < length; ++i) {
        shaped[i] = noise[i] - noise[(i + length - notch % length) % length];
        mean += shaped[i] / static_cast<float>(length);
    }
    for (float& x : shaped) {
        x -= mean;
        peak = std::max(peak, std::abs(x));
    }
    for (float& x : shaped) x /= peak;
    return shaped;
}

/// The vibrating string: a delay line of one period whose losses dull it, tuned by interpolation.
class VibratingString {
public:
    VibratingString(const PluckSound& sound, const Note& note, double rate, Random& random) {
        const float hz = pitchToHz(note.pitch);
        m_dull = 0.5f * (1.0f - 0.75f * sound.brightness);
        const float period =
            static_cast<float>(rate) / hz - m_dull;  // the averaging delays by `m_dull` frames
        m_line = excitation(sound, note, static_cast<std::size_t>(period) + 1, random);
        m_fraction = period - std::floor(period);
        m_loss = std::pow(0.001f, 1.0f / (hz * sound.sustain));
    }

    float next() noexcept {
        const std::size_t after = m_at + 1 < m_line.size() ? m_at + 1 : 0;
        const float now = m_line[m_at] + (m_line[after] - m_line[m_at]) * (1.0f - m_fraction);
        const float out = now + (m_last - now) * m_dull;
        m_last = now;
        m_line[m_at] = out * m_loss;
        m_at = after;
        return out;
    }

private:
    Signal m_line;
    std::size_t m_at = 0;
    float m_fraction = 0, m_loss = 1, m_dull = 0.5f, m_last = 0;
};

Signal playSound(const PluckSound& sound, const Note& note, double rate, Random& random) {
    Signal out(toFrames(std::min<double>(note.seconds, sound.sustain) + 1.5 * sound.release, rate));
    VibratingString string(sound, note, rate, random);
    StateVariableFilter box, air;
    box.set(210, 2.0f, rate);
    air.set(105, 2.0f, rate);
    for (float& x : out) {
        const float dry = string.next();
        x = 0.8f * dry + 2.0f * sound.body * (box.band(dry) + air.band(dry));
    }
    shapeKey(out, 0.0015f, sound.release, note, rate);
    return out;
}

void addPartial(Signal& out, const AdditiveSound::Partial& partial, const Note& note, double rate) {
    const float hz = pitchToHz(note.pitch) * partial.ratio;
    if (hz > 0.42f * static_cast<float>(rate)) return;
    const float step = hz / static_cast<float>(rate);
    Decay fall(partial.decay > 0 ? partial.decay : 1e6f, rate);
    float phase = 0;
    for (float& x : out) {
        x += partial.level * fall.next() * sine(phase);
        phase += step;
        if (phase >= 1.0f) phase -= 1.0f;
    }
}

Signal playSound(const AdditiveSound& sound, const Note& note, double rate, Random& random) {
    Signal out(toFrames(note.seconds + 1.5 * sound.release, rate));
    float total = 0;
    for (const auto& partial : sound.partials) {
        addPartial(out, partial, note, rate);
        total += partial.level;
    }
    StateVariableFilter knock;
    knock.set(1400, 0.8f, rate);
    Decay fall(0.02f, rate);
    for (float& x : out) {
        x /= std::max(0.5f, total);
        if (sound.click > 0) x += sound.click * note.velocity * fall.next() * knock.band(random.bipolar());
    }
    shapeKey(out, sound.attack, sound.release, note, rate);
    return out;
}

}  // namespace

Signal play(const Sound& sound, const Note& note, double rate, Random& random) {
    Signal signal = std::visit([&](const auto& s) { return playSound(s, note, rate, random); }, sound);
    for (float& x : signal) x *= note.velocity;
    fadeOut(signal, toFrames(0.004, rate));
    return signal;
}

}  // namespace loopmaker
