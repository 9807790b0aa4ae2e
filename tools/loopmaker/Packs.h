// SPDX-License-Identifier: MIT
/// \file
/// The catalogue: packs of loops, each a genre with its key, tempo and kit, and the parts that make up a
/// loop.
#pragma once

#include "Drums.h"
#include "Effects.h"
#include "Harmony.h"
#include "LoopDescription.h"
#include "Textures.h"
#include "Voices.h"

#include <optional>
#include <string_view>

namespace loopmaker {

/// Levels are factors, pans -1 (left) to 1 (right). Step texts: see Patterns.h.
struct DrumLine {
    Drum drum = Drum::Kick;
    std::string_view steps{};
    float level = 1;
    float pan = 0;
};

/// A drummer with the pack's kit. `fill` takes the place of everything else at the loop's end.
struct DrumPart {
    std::vector<DrumLine> lines{};
    std::vector<DrumLine> fill{};
};

/// What the digits of a line count.
enum class Follow {
    Key,      ///< degrees of the scale
    Root,     ///< degrees of the scale above the root of the chord of the moment
    Voicing,  ///< members of that chord as voiced, lowest first, going on an octave higher
};

/// One note at a time.
struct LinePart {
    Sound sound{};
    std::string_view steps{};
    Follow follow = Follow::Key;
    int low = 60;       ///< the tonic, degree 1, is the first one not below this pitch
    float gate = 0.9f;  ///< part of a note's last sixteenth that it is held
    int tones = 4;      ///< of the voicing: see voiceChords
};

/// The progression's chords in a rhythm.
struct ChordPart {
    Sound sound{};
    std::string_view steps{};
    int tones = 4;
    int centre = 60;  ///< pitch
    float strum = 0;  ///< seconds from string to string
    float gate = 0.9f;
};

struct TexturePart {
    Texture texture = Texture::VinylCrackle;
};

struct Layer {
    std::variant<DrumPart, LinePart, ChordPart, TexturePart> part{};
    Effects effects{};
    float level = 1;
};

/// One file of a pack. A loop has `bars`, a one-shot `seconds`; the other one is 0.
struct LoopEntry {
    std::string folder{};  ///< inside the pack, parts separated by '/'
    std::string tag{};     ///< of the file's name: "Bass_SubGroove_01"
    std::string instrument{};
    std::string subType{};
    std::vector<std::string> descriptors{};
    int bars = 0;
    double seconds = 0;
    FileFormat format{};
    std::vector<Layer> layers{};
    std::optional<TimeSignature> meter{};  ///< when it is not the pack's
};

struct Pack {
    std::string title{};
    std::string prefix{};  ///< of the file names
    std::string genre{};
    std::string author{};
    int year = 2024;
    double tempo = 120;  ///< quarter notes a minute
    TimeSignature meter{};
    Key key{};
    std::vector<int> progression{1};  ///< scale degrees
    double barsPerChord = 1;
    float swing = 0;      ///< see Groove
    int swingSteps = 1;   ///< see Groove
    float looseness = 0;  ///< milliseconds that a player is early or late at most
    Kit kit{};
    std::vector<LoopEntry> loops{};
    bool shortened = false;  ///< see `shortenPack`

    void add(const std::vector<LoopEntry>& more) { loops.insert(loops.end(), more.begin(), more.end()); }
};

constexpr FileFormat wav(int bits, int channels = 2, double rate = 44100) {
    return {Container::WAV, rate, bits, channels};
}
constexpr FileFormat aiff(int bits, int channels = 2, double rate = 44100) {
    return {Container::AIFF, rate, bits, channels};
}

/// Instrument and sub-type.
struct Kind {
    const char* instrument;
    const char* subType;
};

/// The two forms of an entry, as the packs write them.
LoopEntry loop(const char* folder, const char* tag, Kind kind, std::vector<std::string> descriptors, int bars,
               FileFormat format, std::vector<Layer> layers);
LoopEntry oneShot(const char* folder, const char* tag, Kind kind, std::vector<std::string> descriptors,
                  double seconds, FileFormat format, std::vector<Layer> layers);
/// The entry in another time signature than its pack's.
LoopEntry inMeter(TimeSignature meter, LoopEntry entry);

/// All packs, in a fixed order.
std::vector<Pack> makeCatalogue();

/// Volume `copy` + 1 of a pack: another tempo and key, another title. `copy` 0 is the pack itself.
Pack varyPack(const Pack& pack, int copy, std::uint64_t seed);

/// The same files as small ones: mono, 16 bits, loops as few whole beats as last over half a second.
Pack shortenPack(const Pack& pack);

/// Sixteenths in a bar.
int stepsPerBar(const TimeSignature& meter);

/// The file's description, without transients.
LoopDescription describeLoop(const Pack& pack, const LoopEntry& entry);

Pack harbourLights();
Pack cornerCrates();
Pack nightCircuit();
Pack brassTacks();
Pack glassTides();
Pack paperLanterns();
Pack sevenRivers();
Pack neonParallel();

}  // namespace loopmaker
