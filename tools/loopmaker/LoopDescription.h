// SPDX-License-Identifier: MIT
/// \file
/// Everything that a loop's file says about it, apart from the samples.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace loopmaker {

enum class Container { AIFF, WAV };

/// 8-bit samples are for WAV only.
struct FileFormat {
    Container container = Container::WAV;
    double sampleRate = 44100;  ///< frames a second, Hz
    int bits = 16;              ///< 8, 16 or 24
    int channels = 2;           ///< 1 or 2
};

struct TimeSignature {
    int numerator = 4;
    int denominator = 4;
};

/// As the loop metadata numbers them.
enum ScaleType : int { kScaleNeither = 0, kScaleMinor = 1, kScaleMajor = 2, kScaleAny = 3 };

struct LoopDescription {
    std::string folder;    ///< below the output folder, parts separated by '/'
    std::string fileName;  ///< with its extension
    FileFormat format;
    std::int64_t frames = 0;

    std::string name, author, copyright, annotation;
    std::string instrument, instrumentSubType, genre;
    std::vector<std::string> descriptors;

    bool oneShot = false;
    int numberOfBeats = 0;  ///< in units of the time signature's denominator; 0 for a one-shot
    double tempo = 0;       ///< quarter notes a minute, whatever the time signature; 0 for a one-shot
    TimeSignature timeSignature;
    int rootNote = -1;          ///< MIDI note number, -1 for none
    int scaleType = kScaleAny;  ///< a `ScaleType`
    /// Frame positions of the onsets: the first is 0, strictly rising, below `frames`. Empty for a one-shot.
    std::vector<std::int64_t> transients;
};

}  // namespace loopmaker
