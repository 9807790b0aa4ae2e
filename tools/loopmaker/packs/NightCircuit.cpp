// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

std::vector<LoopEntry> drums() {
    const std::vector<DrumLine> twoStep = {
        {Drum::Kick, "X.........X.....|X.........X..x..", 1.1f},
        {Drum::Snare, "....X..g....X..g|....X..g.g..X.g.", 0.85f},
        {Drum::ClosedHat, "x.x.x.x.x.x.x.x.", 0.26f, 0.2f},
        {Drum::Ride, "x...x...x...x...", 0.3f, -0.3f},
        {Drum::Shaker, "gogogogogogogogo", 0.3f, -0.5f},
    };
    const std::vector<DrumLine> chopped = {
        {Drum::Kick, "X.X.......xx....|X.X.......x.....|X.X.......x.....|..xx......x.....", 1},
        {Drum::Snare, "....X..g.g..X..g|....X..g.g..X..g|....X..g.g....X.|.g..X..g.g....X.", 0.85f},
        {Drum::Ride, "x.x.x.x.x.x.x.x.", 0.34f, 0.25f},
        {Drum::Crash, "................|................|................|..........x.....", 0.3f, -0.2f},
    };
    return {
        loop("Drum Loops", "Drums_RelayStep_01", {"Drum Kit", "Electronic Kit"},
             {"Fast", "Punchy", "Electronic", "Hard"}, 4, wav(16),
             {{DrumPart{twoStep, {{Drum::Kick, "X..x..x.", 1}, {Drum::Snare, "..x.gxrX", 0.85f}}},
               {.drive = 0.25f, .reverb = 0.025f, .reverbSeconds = 0.5f}}}),
        loop("Drum Loops", "Drums_ChoppedLine_01", {"Drum Kit", "Breakbeat"},
             {"Fast", "Dirty", "Live", "Complex"}, 4, aiff(16),
             {{DrumPart{chopped}, {.drive = 0.45f, .reverb = 0.04f, .reverbSeconds = 0.4f}}}),
        loop("Drum Loops", "Drums_TurnaroundFill_01", {"Drum Kit", "Drum Fill"}, {"Fast", "Dense", "Heavy"},
             1, wav(24),
             {{DrumPart{{{Drum::Kick, "X..x..x.........", 1},
                         {Drum::Snare, "....X.gx.xrX.rXX", 0.85f},
                         {Drum::HighTom, "........xx......", 0.7f, 0.3f},
                         {Drum::LowTom, "..........x.x...", 0.8f, -0.3f}}},
               {.drive = 0.3f, .reverb = 0.05f, .reverbSeconds = 0.7f}}}),
        oneShot("One Shots/Kicks", "Kick_Fuse_01", {"Kick", "Electronic Kick"}, {"Hard", "Tight", "Punchy"},
                0.4, wav(24, 1), {{DrumPart{{{Drum::Kick, "X"}}}, {.drive = 0.3f}}}),
        oneShot("One Shots/FX", "FX_OverloadRiser_01", {"Effect", "Riser"}, {"Rising", "Aggressive", "Long"},
                5.517, wav(16),
                {{TexturePart{Texture::Riser}, {.chorus = 0.3f, .reverb = 0.05f, .reverbSeconds = 1.8f}}}),
        oneShot("One Shots/FX", "FX_BlackoutImpact_01", {"Effect", "Impact"}, {"Heavy", "Deep", "Dark"}, 3,
                aiff(24),
                {{TexturePart{Texture::Impact}, {.drive = 0.2f, .reverb = 0.2f, .reverbSeconds = 2.6f}}}),
    };
}

std::vector<LoopEntry> tonal() {
    return {
        loop("Bass Loops", "Bass_ReeseVoltage_01", {"Synth Bass", "Reese Bass"},
             {"Dark", "Aggressive", "Gritty", "Heavy"}, 4, aiff(24, 1),
             {{LinePart{reeseBass(),
                        "1------.1--.3~-..|1-----5,~---7,~---|1------.1--.4~-..|3-----2~---7,----",
                        Follow::Key, 29},
               {.lowPass = 1500, .sweep = 1.1f, .drive = 0.3f, .chorus = 0.25f}}}),
        loop("Synth Loops", "Pad_CarrierWave_01", {"Synth Pad", "Drone"}, {"Dark", "Cold", "Lush", "Wet"}, 4,
             wav(16),
             {{ChordPart{warmPad(), "x---------------", 5, 58},
               {.highPass = 150,
                .lowPass = 1800,
                .sweep = 1.2f,
                .chorus = 0.7f,
                .reverb = 0.15f,
                .reverbSeconds = 3}}}),
        loop("Synth Loops", "Arp_SignalTrace_01", {"Synth Sequence", "Arpeggio"},
             {"Fast", "Bright", "Hypnotic"}, 4, aiff(16),
             {{LinePart{houseStab(), "1.3.5.4.2.5.3?.6.|1.3.5.7.6.5.4.2?.", Follow::Voicing, 60, 0.6f},
               {.highPass = 200, .delay = 0.35f, .reverb = 0.06f, .reverbSeconds = 1.6f}}}),
    };
}

}  // namespace

Pack nightCircuit() {
    Pack pack{.title = "Night Circuit",
              .prefix = "NC",
              .genre = "Drum and Bass",
              .author = "Substation Audio",
              .year = 2024,
              .tempo = 174,
              .key = {5, Mode::Minor},
              .progression = {1, 6, 3, 7},
              .barsPerChord = 2,
              .swing = 0.05f,
              .looseness = 1.5f};
    pack.kit = {
        .kick = {.startHz = 260, .endHz = 55, .sweep = 0.06f, .decay = 0.26f, .click = 0.6f, .drive = 2.4f},
        .snare = {.toneHz = 205, .toneDecay = 0.16f, .noiseHz = 1700, .noiseDecay = 0.22f, .noiseLevel = 1},
        .metal = 1.1f,
        .hatDecay = 0.06f,
        .openDecay = 0.25f};
    pack.add(drums());
    pack.add(tonal());
    return pack;
}

}  // namespace loopmaker
