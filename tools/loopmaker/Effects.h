// SPDX-License-Identifier: MIT
/// \file
/// What comes after an instrument: filters, drive, tremolo, chorus, delay, pump and reverb.
///
/// A loop repeats, so its effects must sound as if they had always been running: each first hears the end of
/// the loop, and what it holds from there falls into the start. Everything that swings by itself makes a
/// whole number of swings in a loop.
#pragma once

#include "Signal.h"

namespace loopmaker {

/// Zero switches an effect off. Applied in the order of the members.
struct Effects {
    float highPass = 0;    ///< Hz
    float lowPass = 0;     ///< Hz
    float sweep = 0;       ///< octaves up and down that the low-pass moves, once in a loop
    float drive = 0;       ///< 0 to 1
    float wah = 0;         ///< level of a swept band, 0 to 1; two swings a bar
    float tremolo = 0;     ///< depth, 0 to 1
    int tremoloSteps = 2;  ///< one swing, in sixteenths
    float chorus = 0;      ///< level
    float delay = 0;       ///< level of the first echo
    int delaySteps = 3;    ///< sixteenths from echo to echo
    float feedback = 0.35f;
    float pump = 0;    ///< depth of the dip after each beat, 0 to 1
    float reverb = 0;  ///< level
    float reverbSeconds = 1.2f;
};

/// Where the effects stand in time.
struct EffectClock {
    double rate = 44100;
    double framesPerStep = 0;  ///< a sixteenth
    double framesPerBar = 0;
    double framesPerBeat = 0;  ///< of the pump
    bool wraps = true;         ///< a loop; a one-shot starts from silence
};

/// Applies the effects in place.
void applyEffects(const Effects& effects, const EffectClock& clock, StereoSignal& signal);

}  // namespace loopmaker
