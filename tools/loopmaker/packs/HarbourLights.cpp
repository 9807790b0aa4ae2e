// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

const std::vector<DrumLine> kShuffledTop = {
    {Drum::OpenHat, "..x...x...x...x.", 0.34f, 0.1f},
    {Drum::ClosedHat, "o..go..go..go.gx", 0.26f, -0.15f},
    {Drum::Shaker, "gogxgogxgogxgogX", 0.4f, 0.45f},
    {Drum::SideStick, "...o..o....o..g.", 0.3f, -0.4f},
};
const std::vector<DrumLine> kClapFill = {
    {Drum::Clap, "....o.oxx.X.rX..", 0.5f},
    {Drum::Shaker, "gogxgogxgogxgogX", 0.4f, 0.45f},
};

std::vector<LoopEntry> drums() {
    return {
        loop("Drum Loops", "Drums_TopShuffle_01", {"Drum Kit", "Top Loop"},
             {"Electronic", "Swung", "Light", "Dry"}, 2, wav(24),
             {{DrumPart{kShuffledTop}, {.highPass = 300, .reverb = 0.03f, .reverbSeconds = 0.5f}}}),
        loop("Drum Loops", "Drums_QuaysideFull_01", {"Drum Kit", "Electronic Kit"},
             {"Electronic", "Swung", "Punchy", "Deep"}, 2, aiff(16),
             {{DrumPart{{{Drum::Kick, "X...X...X...X...", 1.1f}}}},
              {DrumPart{{{Drum::Clap, "....X.......X..g", 0.5f}}}, {.reverb = 0.08f, .reverbSeconds = 0.8f}},
              {DrumPart{kShuffledTop, kClapFill}, {.highPass = 300}, 0.8f}}),
        loop("Percussion Loops", "Perc_CongaTide_01", {"Hand Percussion", "Conga"},
             {"Acoustic", "Live", "Swung", "Warm"}, 2, aiff(24, 1),
             {{DrumPart{{{Drum::LowConga, "x..g..x...x...g.|x..g..x...xx..x.", 0.8f},
                         {Drum::HighConga, "..xg.x..gx.g.xox|..xg.x..gx.g.x.x", 0.6f}}},
               {.reverb = 0.06f, .reverbSeconds = 0.7f}}}),
        oneShot("One Shots/Kicks", "Kick_Bollard_01", {"Kick", "909 Kick"}, {"Punchy", "Electronic", "Dry"},
                0.5, wav(24), {{DrumPart{{{Drum::Kick, "X"}}}}}),
        oneShot("One Shots/Claps", "Clap_Deck_01", {"Clap", "Hand Clap"}, {"Electronic", "Wet", "Tight"}, 0.8,
                aiff(16), {{DrumPart{{{Drum::Clap, "X"}}}, {.reverb = 0.12f, .reverbSeconds = 0.6f}}}),
    };
}

std::vector<LoopEntry> tonal() {
    return {
        loop("Bass Loops", "Bass_SubGroove_01", {"Synth Bass", "Sub Bass"},
             {"Deep", "Warm", "Electronic", "Simple"}, 4, aiff(16, 1),
             {{LinePart{subBass(), "1..1..1'-..1.5,.7,.|1..1..1'...3.1~.5,.", Follow::Root, 33},
               {.drive = 0.15f}}}),
        loop("Bass Loops", "Bass_HarbourAcid_01", {"Synth Bass", "Acid Bass"},
             {"Filtered", "Funky", "Electronic"}, 2, wav(16, 1),
             {{LinePart{acidBass(), "1.1?.1'.1.3~.1.7,.1.|1.1?.1'..1?5,.7,~1..", Follow::Root, 33, 0.7f},
               {.lowPass = 2600, .sweep = 0.8f}}}),
        loop("Keys Loops", "Keys_LanternRhodes_01", {"Piano", "Electric Piano"},
             {"Warm", "Lush", "Vintage", "Swung"}, 4, wav(16),
             {{ChordPart{electricPiano(), "x--.....x--..o-.|...x--....x-..o.", 5, 62, 0.006f},
               {.tremolo = 0.35f,
                .tremoloSteps = 4,
                .chorus = 0.4f,
                .reverb = 0.06f,
                .reverbSeconds = 1.4f}}}),
        loop("Synth Loops", "Stab_DubHorizon_01", {"Synth Sequence", "Stab"},
             {"Wet", "Hypnotic", "Filtered", "Electronic"}, 2, aiff(16),
             {{ChordPart{houseStab(), "...x......x.....|...x.........x..", 4, 60, 0, 0.6f},
               {.highPass = 160,
                .chorus = 0.3f,
                .delay = 0.45f,
                .feedback = 0.5f,
                .reverb = 0.08f,
                .reverbSeconds = 2.2f}}}),
        loop("Synth Loops", "Pad_FogSignal_01", {"Synth Pad", "String Pad"},
             {"Warm", "Airy", "Dark", "Stereo"}, 4, wav(16),
             {{ChordPart{warmPad(), "x---------------", 5, 60},
               {.highPass = 140, .chorus = 0.6f, .pump = 0.6f, .reverb = 0.12f, .reverbSeconds = 2.4f}}}),
    };
}

}  // namespace

Pack harbourLights() {
    Pack pack{.title = "Harbour Lights",
              .prefix = "HL",
              .genre = "Deep House",
              .author = "Pier Nine Audio",
              .year = 2023,
              .tempo = 124,
              .key = {9, Mode::Minor},
              .progression = {1, 6, 3, 5},
              .swing = 0.16f,
              .looseness = 2.5f};
    pack.kit = {
        .kick = {.startHz = 210, .endHz = 49, .sweep = 0.1f, .decay = 0.42f, .click = 0.35f, .drive = 1.8f},
        .hatDecay = 0.07f,
        .openDecay = 0.3f,
        .clapDecay = 0.26f};
    pack.add(drums());
    pack.add(tonal());
    return pack;
}

}  // namespace loopmaker
