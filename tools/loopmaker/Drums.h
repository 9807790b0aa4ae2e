// SPDX-License-Identifier: MIT
/// \file
/// Drums and percussion: swept sines, filtered noise and metallic partials.
#pragma once

#include "Random.h"
#include "Signal.h"

namespace loopmaker {

enum class Drum {
    Kick,
    Snare,
    SideStick,
    Brush,
    Clap,
    Snap,
    ClosedHat,
    OpenHat,
    Ride,
    Crash,
    HighTom,
    LowTom,
    HighConga,
    LowConga,
    Shaker,
    Tambourine,
    Cowbell,
    Claves,
    WoodBlock,
};

/// Times are seconds to -60 dB.
struct KickSound {
    float startHz = 190;
    float endHz = 48;
    float sweep = 0.09f;
    float decay = 0.5f;
    float click = 0.4f;  ///< level of the beater's noise
    float drive = 1.5f;
};

struct SnareSound {
    float toneHz = 190;
    float toneDecay = 0.2f;
    float noiseHz = 1500;  ///< the wires sound above this
    float noiseDecay = 0.26f;
    float noiseLevel = 0.8f;
};

/// A drummer's choice of instruments.
struct Kit {
    KickSound kick{};
    SnareSound snare{};
    float metal = 1.0f;      ///< tuning of hats and cymbals
    float hatDecay = 0.09f;  ///< closed; seconds to -60 dB
    float openDecay = 0.6f;
    float clapDecay = 0.22f;
    float tune = 1.0f;  ///< tuning of toms, congas and small percussion
};

/// One hit, frames at `rate`, peak about `velocity` (0 to 1). A softer hit is duller and shorter too. No two
/// hits are the same: noise and tuning come from `random`.
Signal strike(Drum drum, const Kit& kit, float velocity, double rate, Random& random);

}  // namespace loopmaker
