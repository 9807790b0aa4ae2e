// SPDX-License-Identifier: MIT
/// \file
/// Semitones, keys and notes turned into one another.
#pragma once

#include <MarlCore/platform/Export.h>

// A key is a number from 1 up, twelve to the octave; 0 is no key. [any thread, playback]

/// The factor of the playback rate that transposes by that many semitones, with an octave of exactly 2.
/// Within an octave the factors are those of a fixed table, up to 15 parts in a million from 2^(k/12).
/// Infinity from 128 octaves up, 0 more than 150 octaves down.
extern "C" MARLCORE_EXPORT float semitonesToPitch(int semitones) noexcept;

/// The smallest transposition, in semitones, that brings a loop of one key into another: -6 to 5, a tritone
/// downwards. 0 when either key is 0. Keys are not negative.
extern "C" MARLCORE_EXPORT int calculateKeyShift(int fromKey, int toKey) noexcept;

/// The MIDI note of a loop's key as the application's models count it: 0 is the A of note 57, 11 the last
/// one. A greater key gives 0. Negative keys are deliberately let through and count down from there.
extern "C" MARLCORE_EXPORT int convertModelsKeyToMidiNote(int key) noexcept;
