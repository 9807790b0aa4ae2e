// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

std::vector<LoopEntry> drums() {
    const std::vector<DrumLine> boomBap = {
        {Drum::Kick, "X......x..x.....|X.....g...x..x..", 1.1f},
        {Drum::Snare, "....X.......X...|....X..g....X...", 0.75f},
        {Drum::ClosedHat, "x.o.x.o.x.o.x.oo|x.o.x.o.x.o.....", 0.3f, 0.2f},
        {Drum::OpenHat, "................|............x...", 0.28f, 0.2f},
    };
    return {
        loop("Drum Loops", "Drums_BasementBap_01", {"Drum Kit", "Breakbeat"},
             {"Dirty", "Swung", "Heavy", "Vintage"}, 2, wav(16),
             {{DrumPart{boomBap, {{Drum::Kick, "x.x.", 1.1f}, {Drum::Snare, "gxoX", 0.75f}}},
               {.lowPass = 9000, .drive = 0.35f, .reverb = 0.04f, .reverbSeconds = 0.5f}},
              {TexturePart{Texture::VinylCrackle}, {.highPass = 300}, 0.12f}}),
        loop("Drum Loops", "Drums_StoopHats_01", {"Hi-Hat", "Closed Hat"}, {"Dry", "Swung", "Simple"}, 2,
             wav(8, 1),
             {{DrumPart{{{Drum::ClosedHat, "x.oox.o.x.o.xroo|x.oox.o.x.oox...", 0.8f},
                         {Drum::OpenHat, "................|............x...", 0.6f}}},
               {.lowPass = 11000}}}),
        loop("Drum Loops", "Drums_CornerKick_01", {"Kick", "Acoustic Kick"}, {"Heavy", "Dirty", "Sparse"}, 2,
             aiff(16, 1),
             {{DrumPart{{{Drum::Kick, "X......x..x.....|X.....x...x..x..", 1}}},
               {.lowPass = 5000, .drive = 0.3f}}}),
        oneShot("One Shots/Snares", "Snare_CrateCrack_01", {"Snare", "Acoustic Snare"},
                {"Dirty", "Punchy", "Vintage"}, 0.45, wav(16, 1),
                {{DrumPart{{{Drum::Snare, "X"}}}, {.lowPass = 8000, .drive = 0.5f}}}),
        oneShot("One Shots/Snaps", "Snap_Hallway_01", {"Clap", "Finger Snap"}, {"Live", "Wet", "Short"}, 0.6,
                aiff(24), {{DrumPart{{{Drum::Snap, "X"}}}, {.reverb = 0.1f, .reverbSeconds = 0.7f}}}),
    };
}

std::vector<LoopEntry> tonal() {
    return {
        loop("Bass Loops", "Bass_UprightWalk_01", {"Bass Guitar", "Upright Bass"},
             {"Acoustic", "Warm", "Swung", "Loose"}, 2, aiff(16, 1),
             {{LinePart{uprightBass(), "1--.5,-1..3-5-6-|1--.1..7,-.6,-5,-4,-", Follow::Root, 31},
               {.lowPass = 2500, .drive = 0.1f}}}),
        loop("Keys Loops", "Keys_DustyRhodes_01", {"Piano", "Electric Piano"},
             {"Warm", "Dirty", "Vintage", "Calm"}, 2, wav(16),
             {{ChordPart{electricPiano(), "x-----..o-x---..", 5, 60, 0.018f},
               {.lowPass = 4200, .drive = 0.2f, .tremolo = 0.3f, .tremoloSteps = 3, .chorus = 0.3f}},
              {TexturePart{Texture::VinylCrackle}, {.highPass = 400}, 0.1f}}),
        loop("Mallet Loops", "Vibes_AfterHours_01", {"Mallet", "Vibraphone"},
             {"Soft", "Airy", "Swung", "Calm"}, 4, wav(16, 1),
             {{LinePart{vibraphone(), "5--3--2-1-------|4--3--1-2---....|5--6--8-7---5---|4--3--2-1---....",
                        Follow::Key, 62},
               {.tremolo = 0.3f, .tremoloSteps = 2, .delay = 0.2f, .reverb = 0.1f, .reverbSeconds = 1.6f}}}),
        loop("Ambience Loops", "Vinyl_RunOut_01", {"Ambience", "Vinyl Crackle"},
             {"Vintage", "Dirty", "Light"}, 1, aiff(16),
             {{TexturePart{Texture::VinylCrackle}, {.highPass = 80, .lowPass = 9000}}}),
    };
}

}  // namespace

Pack cornerCrates() {
    Pack pack{.title = "Corner Crates",
              .prefix = "CC",
              .genre = "Hip Hop",
              .author = "Low Stoop Sounds",
              .year = 2021,
              .tempo = 88,
              .key = {2, Mode::Dorian},
              .progression = {1, 4},
              .swing = 0.26f,
              .looseness = 6};
    pack.kit = {
        .kick = {.startHz = 150, .endHz = 54, .sweep = 0.07f, .decay = 0.34f, .click = 0.5f, .drive = 2.2f},
        .snare = {.toneHz = 178, .toneDecay = 0.18f, .noiseHz = 1200, .noiseDecay = 0.3f, .noiseLevel = 0.9f},
        .metal = 0.85f,
        .hatDecay = 0.08f,
        .openDecay = 0.4f};
    pack.add(drums());
    pack.add(tonal());
    return pack;
}

}  // namespace loopmaker
