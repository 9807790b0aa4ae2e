// SPDX-License-Identifier: MIT
#include "Drums.h"

#include "Filters.h"

#include <array>

namespace loopmaker {
namespace {

/// What every hit needs.
struct Hit {
    float velocity;
    double rate;
    Random& random;

    Signal silence(double seconds) const { return Signal(toFrames(seconds, rate)); }
    float perFrame(float hz) const { return hz / static_cast<float>(rate); }
    /// A little sharp or flat, as no two strokes meet the same spot.
    float detuned(float hz) const { return hz * (1.0f + 0.008f * random.bell()); }
};

/// A skin: a sine whose pitch falls to `endHz`.
struct Skin {
    float startHz, endHz, sweep, decay, level;
};

void addSkin(Signal& out, const Hit& hit, const Skin& skin) {
    Decay sweep(skin.sweep, hit.rate), fall(skin.decay, hit.rate);
    float phase = 0;
    for (float& x : out) {
        x += skin.level * fall.next() * sine(phase);
        phase += hit.perFrame(skin.endHz + (skin.startHz - skin.endHz) * sweep.next());
        phase -= std::floor(phase);
    }
}

/// Noise above or around a frequency; `attack` > 0 swells first, as beads do.
struct Hiss {
    float hz, q, decay, level;
    bool band = false;
    float attack = 0;
};

void addHiss(Signal& out, const Hit& hit, const Hiss& hiss) {
    StateVariableFilter filter;
    filter.set(hiss.hz, hiss.q, hit.rate);
    Decay fall(hiss.decay, hit.rate);
    const float rise = hiss.attack > 0 ? hit.perFrame(1.0f / hiss.attack) : 1.0f;
    float swell = hiss.attack > 0 ? 0.0f : 1.0f;
    for (float& x : out) {
        const float noise = hit.random.bipolar();
        const float level = swell < 1.0f ? swell : fall.next();
        x += hiss.level * level * (hiss.band ? filter.band(noise) : filter.high(noise));
        swell = std::min(1.0f, swell + rise);
    }
}

/// The six square waves of the classic drum machines' cymbals, in Hz.
constexpr std::array<float, 6> kMetalHz = {205.3f, 304.4f, 369.6f, 522.7f, 540.0f, 800.0f};

struct Metal {
    float tune, cutoff, decay, level;
};

void addMetal(Signal& out, const Hit& hit, const Metal& metal) {
    std::array<float, 6> phase{}, step{};
    for (std::size_t i = 0; i < 6; ++i) {
        phase[i] = hit.random.uniform();
        step[i] = hit.perFrame(hit.detuned(kMetalHz[i] * metal.tune * 1.7f));
    }
    StateVariableFilter first, second;
    first.set(metal.cutoff, 0.9f, hit.rate);
    second.set(metal.cutoff, 0.7f, hit.rate);
    Decay fall(metal.decay, hit.rate);
    for (float& x : out) {
        float sum = 0;
        for (std::size_t i = 0; i < 6; ++i) {
            phase[i] += step[i];
            if (phase[i] >= 1.0f) phase[i] -= 1.0f;
            sum += phase[i] < 0.5f ? 1.0f : -1.0f;
        }
        x += metal.level * fall.next() * second.high(first.high(sum * 0.4f));
    }
}

Signal kick(const KickSound& sound, const Hit& hit) {
    Signal out = hit.silence(sound.decay * 1.1f);
    addSkin(out, hit, {sound.startHz, sound.endHz, sound.sweep, sound.decay, 1.0f});
    addHiss(out, hit, {2200, 0.7f, 0.012f, sound.click * hit.velocity, true});
    addHiss(out, hit, {5500, 0.7f, 0.006f, 0.3f * sound.click * hit.velocity});
    const float makeUp = 1.0f / saturate(sound.drive);
    for (float& x : out) x = saturate(x * sound.drive) * makeUp;
    return out;
}

Signal snare(const SnareSound& sound, const Hit& hit) {
    const float ring = 0.6f + 0.4f * hit.velocity;
    Signal out = hit.silence(1.1 * std::max(sound.noiseDecay, sound.toneDecay));
    const float hz = hit.detuned(sound.toneHz);
    addSkin(out, hit, {hz * 1.5f, hz, 0.04f, sound.toneDecay * ring, 0.6f});
    addSkin(out, hit, {hz * 2.3f, hz * 1.6f, 0.04f, sound.toneDecay * 0.6f, 0.3f});
    addHiss(out, hit, {sound.noiseHz, 0.8f, sound.noiseDecay * ring, 0.45f * sound.noiseLevel});
    addHiss(out, hit, {sound.noiseHz * 2.5f, 0.6f, sound.noiseDecay * 0.5f, 0.6f * sound.noiseLevel, true});
    addHiss(out, hit, {3000, 0.7f, 0.01f, 0.5f * hit.velocity, true});
    return out;
}

Signal sideStick(const Kit& kit, const Hit& hit) {
    Signal out = hit.silence(0.09);
    addSkin(out, hit, {520 * kit.tune, 430 * kit.tune, 0.01f, 0.06f, 0.5f});
    addSkin(out, hit, {1750 * kit.tune, 1680 * kit.tune, 0.01f, 0.045f, 0.5f});
    addHiss(out, hit, {3200, 1.2f, 0.015f, 0.7f, true});
    return out;
}

Signal brush(const Kit& kit, const Hit& hit) {
    Signal out = hit.silence(0.3);
    addHiss(out, hit, {3200 * kit.tune, 0.6f, 0.26f, 0.8f, true, 0.018f});
    addSkin(out, hit, {230, 190, 0.03f, 0.08f, 0.2f});
    return out;
}

/// Several hands that almost meet: short bursts, then the room.
Signal clap(float tailDecay, float hz, const Hit& hit) {
    Signal out = hit.silence(0.04 + tailDecay);
    double at = 0;
    for (int hand = 0; hand < 4; ++hand) {
        const bool last = hand == 3;
        Signal burst = hit.silence(last ? tailDecay : 0.02);
        addHiss(burst, hit,
                {hz * (1.0f + 0.1f * hit.random.bell()), 1.3f, last ? tailDecay : 0.018f, 1.6f, true});
        const std::size_t offset = toFrames(at, hit.rate);
        for (std::size_t i = 0; i < burst.size() && offset + i < out.size(); ++i) out[offset + i] += burst[i];
        at += 0.009 + 0.003 * hit.random.uniform();
    }
    return out;
}

Signal hat(const Kit& kit, float decay, const Hit& hit) {
    const float ring = decay * (0.5f + 0.5f * hit.velocity);
    Signal out = hit.silence(decay);
    addMetal(out, hit, {kit.metal, 7200 + 1800 * hit.velocity, ring, 0.8f});
    addHiss(out, hit, {8500, 0.7f, ring * 0.8f, 0.5f});
    return out;
}

Signal ride(const Kit& kit, const Hit& hit) {
    Signal out = hit.silence(1.4);
    addMetal(out, hit, {kit.metal * 1.3f, 5200, 1.3f, 0.3f});
    addSkin(out, hit, {3960 * kit.metal, 3950 * kit.metal, 0.01f, 0.5f, 0.1f});
    addHiss(out, hit, {7500, 0.7f, 0.03f, 0.7f});
    return out;
}

Signal crash(const Kit& kit, const Hit& hit) {
    Signal out = hit.silence(2.2);
    addMetal(out, hit, {kit.metal * 0.9f, 4200, 1.6f, 0.35f});
    addHiss(out, hit, {4500, 0.6f, 1.9f, 0.5f});
    addHiss(out, hit, {2500, 0.8f, 0.5f, 0.3f, true});
    return out;
}

Signal tom(float hz, const Hit& hit) {
    Signal out = hit.silence(0.55);
    const float pitch = hit.detuned(hz);
    addSkin(out, hit, {pitch * (1.3f + 0.4f * hit.velocity), pitch, 0.18f, 0.5f, 0.9f});
    addSkin(out, hit, {pitch * 2.1f, pitch * 1.59f, 0.1f, 0.18f, 0.25f});
    addHiss(out, hit, {1800, 0.8f, 0.03f, 0.4f * hit.velocity, true});
    return out;
}

Signal conga(float hz, const Hit& hit) {
    Signal out = hit.silence(0.32);
    const float pitch = hit.detuned(hz);
    addSkin(out, hit, {pitch * 1.15f, pitch, 0.03f, 0.28f, 0.8f});
    addSkin(out, hit, {pitch * 2.4f, pitch * 2.3f, 0.02f, 0.07f, 0.3f});
    addHiss(out, hit, {1500, 1.5f, 0.025f, 0.8f * hit.velocity * hit.velocity, true});
    return out;
}

Signal shaker(const Kit& kit, const Hit& hit) {
    Signal out = hit.silence(0.11);
    const float swell = 0.012f + 0.012f * (1.0f - hit.velocity);
    addHiss(out, hit, {6800 * kit.tune, 1.0f, 0.08f, 1.3f, true, swell});
    return out;
}

Signal tambourine(const Kit& kit, const Hit& hit) {
    Signal out = hit.silence(0.24);
    addMetal(out, hit, {kit.metal * 2.3f, 7000, 0.2f, 0.6f});
    addHiss(out, hit, {8200, 1.0f, 0.14f, 0.6f, true, 0.004f});
    return out;
}

Signal cowbell(const Kit& kit, const Hit& hit) {
    Signal out = hit.silence(0.4);
    for (const float hz : {540.0f, 800.0f, 1620.0f})
        addSkin(out, hit, {hz * kit.tune, hz * kit.tune, 0.01f, 0.34f, 0.35f});
    for (const float hz : {2700.0f, 4000.0f}) addSkin(out, hit, {hz, hz, 0.01f, 0.06f, 0.2f});
    addHiss(out, hit, {3000, 1.0f, 0.008f, 0.5f, true});
    return out;
}

/// Claves and blocks: a bar of wood, two modes.
Signal wood(float hz, float decay, const Hit& hit) {
    Signal out = hit.silence(decay * 1.1f);
    addSkin(out, hit, {hz, hz, 0.01f, decay, 0.8f});
    addSkin(out, hit, {hz * 2.71f, hz * 2.71f, 0.01f, decay * 0.4f, 0.2f});
    addHiss(out, hit, {hz * 1.5f, 1.0f, 0.006f, 0.3f, true});
    return out;
}

Signal makeHit(Drum drum, const Kit& kit, const Hit& hit) {
    switch (drum) {
        case Drum::Kick:
            return kick(kit.kick, hit);
        case Drum::Snare:
            return snare(kit.snare, hit);
        case Drum::SideStick:
            return sideStick(kit, hit);
        case Drum::Brush:
            return brush(kit, hit);
        case Drum::Clap:
            return clap(kit.clapDecay, 1150, hit);
        case Drum::Snap:
            return clap(0.07f, 2300, hit);
        case Drum::ClosedHat:
            return hat(kit, kit.hatDecay, hit);
        case Drum::OpenHat:
            return hat(kit, kit.openDecay, hit);
        case Drum::Ride:
            return ride(kit, hit);
        case Drum::Crash:
            return crash(kit, hit);
        case Drum::HighTom:
            return tom(165 * kit.tune, hit);
        case Drum::LowTom:
            return tom(98 * kit.tune, hit);
        case Drum::HighConga:
            return conga(330 * kit.tune, hit);
        case Drum::LowConga:
            return conga(215 * kit.tune, hit);
        case Drum::Shaker:
            return shaker(kit, hit);
        case Drum::Tambourine:
            return tambourine(kit, hit);
        case Drum::Cowbell:
            return cowbell(kit, hit);
        case Drum::Claves:
            return wood(2450 * kit.tune, 0.1f, hit);
        case Drum::WoodBlock:
            return wood(1080 * kit.tune, 0.12f, hit);
    }
    return {};
}

}  // namespace

Signal strike(Drum drum, const Kit& kit, float velocity, double rate, Random& random) {
    Signal signal = makeHit(drum, kit, {velocity, rate, random});
    for (float& x : signal) x *= velocity;
    fadeOut(signal, toFrames(0.005, rate));
    return signal;
}

}  // namespace loopmaker
