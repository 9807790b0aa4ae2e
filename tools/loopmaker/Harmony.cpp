// SPDX-License-Identifier: MIT
#include "Harmony.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <numeric>

namespace loopmaker {
namespace {

using Scale = std::array<int, 7>;

const Scale& scaleOf(Mode mode) {
    static constexpr std::array<Scale, 5> kScales = {{
        {0, 2, 3, 5, 7, 8, 10},  // Minor
        {0, 2, 3, 5, 7, 9, 10},  // Dorian
        {0, 2, 3, 5, 7, 8, 11},  // HarmonicMinor
        {0, 2, 4, 5, 7, 9, 11},  // Major
        {0, 2, 4, 5, 7, 9, 10},  // Mixolydian
    }};
    return kScales[static_cast<std::size_t>(mode)];
}

/// The chord's members as degrees above its root.
std::vector<int> stackOf(int tones) {
    switch (tones) {
        case 2:
            return {0, 4};
        case 3:
            return {0, 2, 4};
        case 4:
            return {0, 2, 4, 6};
        default:
            return {2, 4, 6, 8};
    }
}

std::vector<int> pitchClasses(const Key& key, int degree, int tones) {
    std::vector<int> classes;
    for (const int above : stackOf(tones))
        classes.push_back((key.tonic + degreeToSemitones(key.mode, degree + above) + 120) % 12);
    return classes;
}

/// The chord in close position, its `bottom`th member lowest, from the octave of `low` upwards.
std::vector<int> stackFrom(const std::vector<int>& classes, std::size_t bottom, int low) {
    std::vector<int> pitches;
    int floor = low;
    for (std::size_t i = 0; i < classes.size(); ++i) {
        const int wanted = classes[(bottom + i) % classes.size()];
        floor += ((wanted - floor) % 12 + 12) % 12;
        pitches.push_back(floor++);
    }
    return pitches;
}

int movement(const std::vector<int>& from, const std::vector<int>& to, int centre) {
    const int middle = std::accumulate(to.begin(), to.end(), 0) / static_cast<int>(to.size());
    int cost = std::abs(middle - centre);  // keeps the voicings from wandering off
    for (std::size_t i = 0; i < std::min(from.size(), to.size()); ++i) cost += 2 * std::abs(from[i] - to[i]);
    return cost;
}

std::vector<int> nearestVoicing(const std::vector<int>& classes, const std::vector<int>& before, int centre) {
    std::vector<int> best;
    int lowestCost = std::numeric_limits<int>::max();
    for (std::size_t bottom = 0; bottom < classes.size(); ++bottom)
        for (const int low : {centre - 16, centre - 4}) {
            std::vector<int> candidate = stackFrom(classes, bottom, low);
            const int cost = movement(before, candidate, centre);
            if (cost >= lowestCost) continue;
            lowestCost = cost;
            best = std::move(candidate);
        }
    return best;
}

}  // namespace

bool isMajor(Mode mode) {
    return mode == Mode::Major || mode == Mode::Mixolydian;
}

std::string keyName(const Key& key) {
    static constexpr std::array<const char*, 12> kNames = {"C",  "C#", "D",  "Eb", "E",  "F",
                                                           "F#", "G",  "Ab", "A",  "Bb", "B"};
    return std::string(kNames[static_cast<std::size_t>(key.tonic)]) + (isMajor(key.mode) ? "" : "m");
}

int degreeToSemitones(Mode mode, int degree) {
    const int index = degree - 1;
    const int octave = index >= 0 ? index / 7 : -((6 - index) / 7);
    return 12 * octave + scaleOf(mode)[static_cast<std::size_t>(index - 7 * octave)];
}

int tonicAtOrAbove(const Key& key, int low) {
    return low + ((key.tonic - low) % 12 + 12) % 12;
}

std::vector<std::vector<int>> voiceChords(const Key& key, const std::vector<int>& progression, int tones,
                                          int centre) {
    std::vector<std::vector<int>> chords;
    std::vector<int> before;
    for (const int degree : progression) {
        before = nearestVoicing(pitchClasses(key, degree, tones), before, centre);
        chords.push_back(before);
    }
    return chords;
}

}  // namespace loopmaker
