// SPDX-License-Identifier: MIT
/// \file
/// Keys, chords on the degrees of a scale, and voice leading. Pitches are MIDI note numbers.
#pragma once

#include <string>
#include <vector>

namespace loopmaker {

enum class Mode { Minor, Dorian, HarmonicMinor, Major, Mixolydian };

struct Key {
    int tonic = 0;  ///< pitch class: 0 is C, 11 is B
    Mode mode = Mode::Minor;
};

/// True for the modes with a major third.
bool isMajor(Mode mode);

/// As in file names: "Am", "F#m", "D".
std::string keyName(const Key& key);

/// Semitones from the tonic to a degree of the scale: 1 is the tonic, 8 the one above it, 0 and below reach
/// under it.
int degreeToSemitones(Mode mode, int degree);

/// The lowest pitch of the key's tonic that is not below `low`.
int tonicAtOrAbove(const Key& key, int low);

/// The pitches of each chord of a progression (scale degrees), lowest first, each voicing the one that moves
/// least from the chord before, around the pitch `centre`. `tones`: 2 root and fifth, 3 triad, 4 seventh
/// chord, 5 a ninth chord without its root, which is left to the bass.
std::vector<std::vector<int>> voiceChords(const Key& key, const std::vector<int>& progression, int tones,
                                          int centre);

}  // namespace loopmaker
