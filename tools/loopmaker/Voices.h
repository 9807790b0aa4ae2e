// SPDX-License-Identifier: MIT
/// \file
/// Pitched instruments: four ways of synthesis, and the sounds that the packs play on them.
#pragma once

#include "Random.h"
#include "Signal.h"

#include <variant>

namespace loopmaker {

/// One note. Glides from `glideFrom` when that is not negative.
struct Note {
    float pitch = 60;    ///< MIDI note number
    double seconds = 1;  ///< until the key is let go; the release comes on top
    float velocity = 1;  ///< 0 to 1; softer is duller too
    float glideFrom = -1;
};

/// Seconds, and a level for `sustain`.
struct EnvelopeTimes {
    float attack = 0.004f;
    float decay = 0.3f;
    float sustain = 0.6f;
    float release = 0.12f;
};

enum class Wave { Saw, Square, Triangle };

/// Oscillators through a resonant low-pass filter: basses, stabs, pads, leads, brass.
struct SubtractiveSound {
    Wave wave = Wave::Saw;
    int unison = 1;       ///< detuned oscillators, up to 7
    float detune = 0;     ///< cents from the centre to the outermost one
    float sub = 0;        ///< level of a sine at the note (basses) below the filter
    float cutoff = 1000;  ///< Hz, with the filter's envelope at rest
    float sweep = 2;      ///< octaves that the envelope opens the filter at full velocity
    float q = 0.8f;
    EnvelopeTimes filter{};
    EnvelopeTimes amp{};
    float drive = 0;    ///< 0 none, 1 plenty
    float vibrato = 0;  ///< cents, 5.4 Hz, coming in slowly
};

/// Two pairs of carrier and modulator: electric pianos, bells, plucked basses.
struct FMSound {
    struct Pair {
        float carrier = 1;  ///< frequency ratios to the note
        float modulator = 1;
        float index = 1;  ///< depth at full velocity, radians
        float indexDecay = 1;
        float level = 1;
        float decay = 2;  ///< seconds to -60 dB
    };
    Pair body{};
    Pair strike{};
    float attack = 0.002f;
    float release = 0.15f;
};

/// A plucked string (Karplus and Strong, "Digital synthesis of plucked-string and drum timbres", 1983).
struct PluckSound {
    float brightness = 0.6f;  ///< 0 felt, 1 steel
    float sustain = 3;        ///< seconds to -60 dB
    float position = 0.2f;    ///< where the string is plucked, part of its length
    float release = 0.08f;
    float body = 0.3f;  ///< level of the wooden box
};

/// Sines with levels and decays: mallets, kalimba, drawbar organ.
struct AdditiveSound {
    struct Partial {
        float ratio;
        float level;
        float decay;  ///< seconds to -60 dB; 0 sounds as long as the key is held
    };
    std::vector<Partial> partials;
    float attack = 0.001f;
    float release = 0.1f;
    float click = 0;  ///< mallet or key noise
};

using Sound = std::variant<SubtractiveSound, FMSound, PluckSound, AdditiveSound>;

/// The note with its release, frames at `rate`, peak about `velocity`; starts and ends at zero.
Signal play(const Sound& sound, const Note& note, double rate, Random& random);

}  // namespace loopmaker
