// SPDX-License-Identifier: MIT
/// \file
/// The step notation in which the packs write their music, and where its steps fall in time.
///
/// One character is one step, a sixteenth; spaces and bars '|' are for the eye. Rhythms (drums, chords):
/// 'X' accented, 'x' plain, 'o' soft, 'g' ghost, 'r' two strokes in one step, '.' rest, '-' holds the note
/// before. Lines (basses, melodies): a digit 1 to 9 starts a note, '.' and '-' as above; behind a digit, ' is
/// an octave up, , an octave down, # and b a semitone, ! an accent, ? a soft note, ~ a glide from the note
/// before.
#pragma once

#include <string_view>
#include <vector>

namespace loopmaker {

struct Step {
    int at = 0;      ///< sixteenths from the pattern's start
    int length = 1;  ///< sixteenths
    float velocity = 0.8f;
    bool roll = false;  ///< rhythms: two strokes
    int degree = 1;     ///< lines: the digit
    int semitones = 0;  ///< lines: octaves and accidentals
    bool glide = false;
};

struct Pattern {
    std::vector<Step> steps;
    int length = 0;  ///< sixteenths
};

/// Throws `std::invalid_argument` that names the character it does not know.
Pattern parseRhythm(std::string_view text);
Pattern parseLine(std::string_view text);

/// Repeats a pattern up to `length` sixteenths, the last `fill.length` of them given to `fill`.
std::vector<Step> unroll(const Pattern& pattern, const Pattern& fill, int length);

/// Where steps fall.
class Groove {
public:
    /// `amount` 0 is straight, 1/3 makes triplets: how far every second unit of `unitSteps` sixteenths (1 or
    /// 2) is late, as part of a unit.
    Groove(double framesPerStep, float amount, int unitSteps)
        : m_framesPerStep(framesPerStep), m_amount(amount), m_unit(unitSteps) {}
    /// Frames from the start to a step, which may lie between two.
    double frameOf(double step) const;

private:
    double m_framesPerStep;
    float m_amount;
    int m_unit;
};

}  // namespace loopmaker
