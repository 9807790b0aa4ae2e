// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/PitchMath.h>

#include <cmath>
#include <limits>

namespace {

constexpr int kSemitonesInOctave = 12;

/// The factors of the semitones of an octave. Sessions sound as they did because these stay as they are:
/// close to 2^(k/12), with 11 to 14 bits of fraction.
constexpr float kPitchLookup[kSemitonesInOctave] = {
    0x1.000000p0f, 0x1.0f3800p0f, 0x1.1f5900p0f, 0x1.306f00p0f, 0x1.428a00p0f, 0x1.55b800p0f,
    0x1.6a0900p0f, 0x1.7f9100p0f, 0x1.965f00p0f, 0x1.ae8900p0f, 0x1.c82300p0f, 0x1.e34300p0f,
};

constexpr int kMostKey = 11;
constexpr int kNoteOfKey0 = 57;

// What is too large for a float is infinity.
static_assert(std::numeric_limits<float>::is_iec559);

}  // namespace

float semitonesToPitch(int semitones) noexcept {
    int octave = semitones / kSemitonesInOctave;
    int semitone = semitones % kSemitonesInOctave;
    if (semitone < 0) {
        semitone += kSemitonesInOctave;
        --octave;
    }
    return static_cast<float>(kPitchLookup[semitone] * std::pow(2.0, octave));
}

int calculateKeyShift(int fromKey, int toKey) noexcept {
    if (fromKey == 0 || toKey == 0) return 0;
    const int distance = toKey % kSemitonesInOctave - fromKey % kSemitonesInOctave;
    if (distance > 5) return distance - kSemitonesInOctave;
    return distance > -7 ? distance : distance + kSemitonesInOctave;
}

int convertModelsKeyToMidiNote(int key) noexcept {
    return key > kMostKey ? 0 : key + kNoteOfKey0;
}
