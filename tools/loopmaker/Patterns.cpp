// SPDX-License-Identifier: MIT
#include "Patterns.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace loopmaker {
namespace {

[[noreturn]] void refuse(char c, std::string_view text) {
    throw std::invalid_argument("'" + std::string(1, c) +
                                "' means nothing where it stands in the pattern \"" + std::string(text) +
                                "\"");
}

bool isSounding(const Pattern& pattern) {
    if (pattern.steps.empty()) return false;
    const Step& last = pattern.steps.back();
    return last.at + last.length == pattern.length;
}

/// Spaces, bars, rests and holds, which rhythms and lines share; false when `c` is none of them, or holds
/// nothing.
bool takeCommon(char c, Pattern& pattern) {
    if (c == ' ' || c == '|') return true;
    if (c == '-' && isSounding(pattern))
        ++pattern.steps.back().length;
    else if (c != '.')
        return false;
    ++pattern.length;
    return true;
}

/// -1 for what is no stroke.
float strokeVelocity(char c) {
    switch (c) {
        case 'X':
            return 1.0f;
        case 'x':
            return 0.8f;
        case 'r':
            return 0.6f;
        case 'o':
            return 0.55f;
        case 'g':
            return 0.3f;
        default:
            return -1.0f;
    }
}

/// A sign behind a note; false when it is none.
bool takeSign(char c, Step& note) {
    switch (c) {
        case '\'':
            note.semitones += 12;
            return true;
        case ',':
            note.semitones -= 12;
            return true;
        case '#':
            note.semitones += 1;
            return true;
        case 'b':
            note.semitones -= 1;
            return true;
        case '!':
            note.velocity = 1.0f;
            return true;
        case '?':
            note.velocity = 0.5f;
            return true;
        case '~':
            note.glide = true;
            return true;
        default:
            return false;
    }
}

}  // namespace

Pattern parseRhythm(std::string_view text) {
    Pattern pattern;
    for (const char c : text) {
        if (takeCommon(c, pattern)) continue;
        const float velocity = strokeVelocity(c);
        if (velocity < 0) refuse(c, text);
        Step step;
        step.at = pattern.length++;
        step.velocity = velocity;
        step.roll = c == 'r';
        pattern.steps.push_back(step);
    }
    return pattern;
}

Pattern parseLine(std::string_view text) {
    Pattern pattern;
    for (const char c : text) {
        if (takeCommon(c, pattern)) continue;
        if (c >= '1' && c <= '9') {
            Step step;
            step.at = pattern.length++;
            step.degree = c - '0';
            pattern.steps.push_back(step);
        } else if (pattern.steps.empty() || !takeSign(c, pattern.steps.back())) {
            refuse(c, text);
        }
    }
    return pattern;
}

std::vector<Step> unroll(const Pattern& pattern, const Pattern& fill, int length) {
    std::vector<Step> steps;
    const int fillStart = length - fill.length;
    for (int start = 0; pattern.length > 0 && start < fillStart; start += pattern.length)
        for (Step step : pattern.steps) {
            step.at += start;
            if (step.at < fillStart) steps.push_back(step);
        }
    for (Step step : fill.steps) {
        step.at += fillStart;
        if (step.at >= 0) steps.push_back(step);
    }
    return steps;
}

double Groove::frameOf(double step) const {
    const double pair = 2.0 * m_unit;
    const double inside = step - pair * std::floor(step / pair);
    const double late = static_cast<double>(m_amount) * (inside < m_unit ? inside : pair - inside);
    return (step + late) * m_framesPerStep;
}

}  // namespace loopmaker
