// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

std::vector<LoopEntry> drums() {
    const std::vector<DrumLine> straight = {
        {Drum::Kick, "X.......X.x.....", 1.1f},
        {Drum::ClosedHat, "x.o.x.o.x.o.x.o.", 0.26f, 0.15f},
        {Drum::OpenHat, "..............x.", 0.25f, 0.15f},
    };
    const std::vector<DrumLine> tomRun = {
        {Drum::HighTom, "xxx.....", 0.8f, 0.5f},
        {Drum::LowTom, "....xxxX", 0.9f, -0.4f},
        {Drum::Kick, "X...x...", 1},
    };
    return {
        loop("Drum Loops", "Drums_GridRunner_01", {"Drum Kit", "Electronic Kit"},
             {"Electronic", "Straight", "Punchy", "Vintage"}, 2, aiff(24),
             {{DrumPart{straight, tomRun}, {.drive = 0.1f}},
              {DrumPart{{{Drum::Snare, "....X.......X...", 0.8f}}},
               {.drive = 0.2f, .reverb = 0.25f, .reverbSeconds = 1.1f}}}),
        loop("Drum Loops", "Drums_TomSunset_01", {"Tom", "Rack Tom"}, {"Electronic", "Heavy", "Wet"}, 2,
             wav(16),
             {{DrumPart{{{Drum::HighTom, "x..x............|x..x......xx....", 0.8f, 0.4f},
                         {Drum::LowTom, "......x...x.x...|......x.....x.X.", 0.9f, -0.4f}}},
               {.drive = 0.15f, .reverb = 0.15f, .reverbSeconds = 1.3f}}}),
        oneShot("One Shots/Cymbals", "Crash_Chrome_01", {"Cymbal", "Crash"}, {"Bright", "Long", "Electronic"},
                2.0, wav(24), {{DrumPart{{{Drum::Crash, "X"}}}, {.reverb = 0.06f, .reverbSeconds = 1.4f}}}),
        oneShot("One Shots/Hats", "Hat_OpenGrid_01", {"Hi-Hat", "Open Hat"}, {"Bright", "Electronic", "Dry"},
                0.5, wav(16, 1), {{DrumPart{{{Drum::OpenHat, "X"}}}}}),
        oneShot("One Shots/FX", "FX_ParallelFall_01", {"Effect", "Downlifter"},
                {"Falling", "Wet", "Electronic"}, 3.2, aiff(16),
                {{TexturePart{Texture::Downlifter}, {.delay = 0.2f, .reverb = 0.1f, .reverbSeconds = 2}}}),
    };
}

std::vector<LoopEntry> tonal() {
    return {
        loop("Bass Loops", "Bass_OctaveDrive_01", {"Synth Bass", "Wobble Bass"},
             {"Electronic", "Straight", "Vintage"}, 2, wav(24, 1),
             {{LinePart{sawBass(), "1.1.8.1.1.8.1.8.", Follow::Root, 30, 0.8f},
               {.drive = 0.1f, .chorus = 0.15f}}}),
        loop("Synth Loops", "Arp_NeonStairs_01", {"Synth Sequence", "Arpeggio"},
             {"Bright", "Electronic", "Fast"}, 2, aiff(16),
             {{LinePart{squareLead(), "1234542312345678", Follow::Voicing, 62, 0.7f, 3},
               {.highPass = 180, .chorus = 0.3f, .delay = 0.35f, .reverb = 0.06f, .reverbSeconds = 1.6f}}}),
        loop("Synth Loops", "Pad_SkylineWide_01", {"Synth Pad", "String Pad"},
             {"Lush", "Vintage", "Stereo", "Warm"}, 4, wav(16),
             {{ChordPart{stringPad(), "x---------------", 4, 61},
               {.highPass = 120, .chorus = 0.7f, .reverb = 0.15f, .reverbSeconds = 2.6f}}}),
        loop("Synth Loops", "Lead_LastExit_01", {"Synth Lead", "Supersaw"}, {"Bright", "Hard", "Sad"}, 4,
             aiff(24, 1),
             {{LinePart{superSaw(), "5-----4-3---1---|3-----4-5-------|7-----5-3---5---|4---3---2---7,~---",
                        Follow::Key, 66},
               {.highPass = 150,
                .chorus = 0.3f,
                .delay = 0.3f,
                .feedback = 0.4f,
                .reverb = 0.1f,
                .reverbSeconds = 2}}}),
        loop("Construction Loops", "Full_NightDrive_01", {"Synth Sequence", "Chord"},
             {"Electronic", "Dense", "Vintage", "Stereo"}, 2, wav(16, 2, 48000),
             {{DrumPart{{{Drum::Kick, "X...X...X...X...", 1},
                         {Drum::Snare, "....X.......X...", 0.7f},
                         {Drum::ClosedHat, "..x...x...x...x.", 0.25f}}},
               {.reverb = 0.05f, .reverbSeconds = 0.9f}},
              {LinePart{sawBass(), "..1.1.1...1.1.8.", Follow::Root, 30, 0.8f}, {.pump = 0.4f}, 0.6f},
              {ChordPart{superSaw(), "x-----x-----x---", 3, 61, 0, 0.7f},
               {.highPass = 200, .pump = 0.6f, .reverb = 0.1f},
               0.35f}}),
    };
}

}  // namespace

Pack neonParallel() {
    Pack pack{.title = "Neon Parallel",
              .prefix = "NP",
              .genre = "Synthwave",
              .author = "Coastline Memory",
              .year = 2023,
              .tempo = 100,
              .key = {6, Mode::Minor},
              .progression = {1, 6, 3, 7},
              .looseness = 1};
    pack.kit = {
        .kick = {.startHz = 180, .endHz = 50, .sweep = 0.08f, .decay = 0.4f, .click = 0.5f, .drive = 1.7f},
        .snare = {.toneHz = 185, .toneDecay = 0.25f, .noiseHz = 1300, .noiseDecay = 0.38f, .noiseLevel = 1},
        .hatDecay = 0.06f,
        .openDecay = 0.3f,
        .tune = 0.95f};
    pack.add(drums());
    pack.add(tonal());
    return pack;
}

}  // namespace loopmaker
