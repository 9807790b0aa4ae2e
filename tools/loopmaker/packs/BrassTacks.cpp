// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

std::vector<LoopEntry> drums() {
    const std::vector<DrumLine> pocket = {
        {Drum::Kick, "X.x.......x..x..|X.x....x..x.....", 1},
        {Drum::Snare, "....X..g.g..X..g|....X..g.g.gX.g.", 0.8f},
        {Drum::ClosedHat, "x.o.x.o.x.o.x...|x.o.x.o.x.o.x.o.", 0.3f, 0.25f},
        {Drum::OpenHat, "..............x.|................", 0.28f, 0.25f},
    };
    const std::vector<DrumLine> pocketFill = {
        {Drum::Snare, "Xgox", 0.8f},
        {Drum::HighTom, "..x.", 0.7f, 0.3f},
        {Drum::LowTom, "...X", 0.8f, -0.3f},
        {Drum::Kick, "x...", 1},
    };
    return {
        loop("Drum Loops", "Drums_PocketChange_01", {"Drum Kit", "Full Kit"},
             {"Acoustic", "Live", "Funky", "Tight"}, 2, wav(24),
             {{DrumPart{pocket, pocketFill}, {.drive = 0.15f, .reverb = 0.04f, .reverbSeconds = 0.6f}}}),
        loop("Percussion Loops", "Perc_TambourineStrut_01", {"Small Percussion", "Tambourine"},
             {"Acoustic", "Bright", "Live"}, 2, aiff(16),
             {{DrumPart{{{Drum::Tambourine, "o.g.X.g.o.g.X.go", 0.8f, 0.1f},
                         {Drum::Cowbell, "x..x..x...x..x..", 0.4f, -0.4f}}},
               {.reverb = 0.04f, .reverbSeconds = 0.6f}}}),
        oneShot("One Shots/Toms", "Tom_LowRack_01", {"Tom", "Floor Tom"}, {"Acoustic", "Deep", "Dry"}, 0.6,
                wav(16), {{DrumPart{{{Drum::LowTom, "X"}}}, {.reverb = 0.03f, .reverbSeconds = 0.4f}}}),
        oneShot("One Shots/Cowbells", "Cowbell_Strut_01", {"Small Percussion", "Cowbell"},
                {"Dry", "Bright", "Short"}, 0.4, wav(8, 1), {{DrumPart{{{Drum::Cowbell, "X"}}}}}),
    };
}

std::vector<LoopEntry> tonal() {
    return {
        loop("Bass Loops", "Bass_SlapReceipt_01", {"Bass Guitar", "Slap Bass"},
             {"Funky", "Punchy", "Tight", "Clean"}, 2, wav(16, 1),
             {{LinePart{slapBass(), "1!..1?.8.7?.5.7.1?8.|1!..1?.8.7?1?..3.4.5", Follow::Root, 28, 0.7f},
               {.drive = 0.1f}}}),
        loop("Guitar Loops", "Gtr_ScratchTen_01", {"Electric Guitar", "Rhythm Guitar"},
             {"Funky", "Clean", "Muted"}, 2, aiff(16),
             {{ChordPart{mutedGuitar(), "x.goo.x.ggx.o.xg", 5, 64, 0.003f, 0.6f},
               {.highPass = 250, .wah = 0.7f, .chorus = 0.25f, .reverb = 0.03f, .reverbSeconds = 0.6f}}}),
        loop("Keys Loops", "Clav_NailGun_01", {"Piano", "Clavinet"}, {"Funky", "Gritty", "Vintage"}, 2,
             aiff(24, 1),
             {{LinePart{clavinet(), "1!.5?1?..3?4.3?1..5,?7,.1?|1!.5?1?..3?4.5.7?5.4?3.1?", Follow::Root, 52,
                        0.5f},
               {.highPass = 90, .drive = 0.3f, .wah = 0.5f}}}),
        loop("Brass Loops", "Horns_HammerHits_01", {"Brass", "Brass Section"},
             {"Bright", "Punchy", "Live", "Funky"}, 2, wav(24),
             {{ChordPart{brassSection(), "X.....x.........|......x-..X-----", 5, 66, 0, 0.6f},
               {.highPass = 120, .chorus = 0.3f, .reverb = 0.08f, .reverbSeconds = 1.1f}}}),
        loop("Keys Loops", "Organ_CornerChurch_01", {"Organ", "Tonewheel Organ"},
             {"Warm", "Vintage", "Loose"}, 2, wav(16),
             {{ChordPart{tonewheelOrgan(), "x--.o.x-..o.x-..|x--.o.x-..o-----", 4, 62},
               {.drive = 0.25f, .tremolo = 0.25f, .tremoloSteps = 1, .chorus = 0.5f, .reverb = 0.05f}}}),
    };
}

}  // namespace

Pack brassTacks() {
    Pack pack{.title = "Brass Tacks",
              .prefix = "BT",
              .genre = "Funk",
              .author = "Third Street Rhythm",
              .year = 2022,
              .tempo = 104,
              .key = {4, Mode::Dorian},
              .progression = {1, 1, 4, 1},
              .swing = 0.08f,
              .looseness = 5};
    pack.kit = {
        .kick = {.startHz = 140, .endHz = 60, .sweep = 0.05f, .decay = 0.24f, .click = 0.8f, .drive = 1.4f},
        .snare = {.toneHz = 215, .toneDecay = 0.14f, .noiseHz = 2000, .noiseDecay = 0.2f, .noiseLevel = 0.8f},
        .hatDecay = 0.07f,
        .openDecay = 0.35f};
    pack.add(drums());
    pack.add(tonal());
    return pack;
}

}  // namespace loopmaker
