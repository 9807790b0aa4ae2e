// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

// A bar of 7/8 is fourteen sixteenths, felt as 4 + 4 + 6.

std::vector<LoopEntry> drums() {
    const std::vector<DrumLine> kitGroove = {
        {Drum::Kick, "X...g.x...x...|X..x....x.....", 1},
        {Drum::Snare, "....X...g...X.|....X..g..g.X.", 0.7f},
        {Drum::ClosedHat, "x.o.x.o.x.o.x.", 0.3f, 0.25f},
        {Drum::OpenHat, "..............|............x.", 0.25f, 0.25f},
    };
    const std::vector<DrumLine> tomFill = {
        {Drum::Kick, "X...x.", 1},
        {Drum::HighTom, "x.xx..", 0.7f, 0.3f},
        {Drum::LowTom, "....Xx", 0.8f, -0.3f},
    };
    return {
        loop("Drum Loops", "Drums_DeltaSeven_01", {"Drum Kit", "Full Kit"},
             {"Live", "Complex", "Acoustic", "Loose"}, 2, wav(24),
             {{DrumPart{kitGroove, tomFill}, {.drive = 0.1f, .reverb = 0.05f, .reverbSeconds = 0.7f}}}),
        loop("Percussion Loops", "Perc_RiverBells_01", {"Small Percussion", "Cowbell"},
             {"Live", "Hypnotic", "Bright", "Dense"}, 2, aiff(16),
             {{DrumPart{{{Drum::Cowbell, "x.x.x..x.x.x..", 0.5f, -0.35f},
                         {Drum::Shaker, "XgogXgogXgogog", 0.5f, 0.5f},
                         {Drum::Claves, "x...x...x..x..", 0.35f, 0.3f},
                         {Drum::WoodBlock, "..x..x....x..x", 0.35f, -0.1f}}},
               {.reverb = 0.06f, .reverbSeconds = 0.8f}}}),
        loop("Percussion Loops", "Perc_CongaFerry_01", {"Hand Percussion", "Conga"},
             {"Live", "Warm", "Acoustic"}, 4, wav(16, 1),
             {{DrumPart{{{Drum::LowConga, "x..g..x...x.g.|x..g..x..xx...", 0.9f},
                         {Drum::HighConga, "..xg.xg.xg..xx|..xg.xg.x...xx", 0.65f}}},
               {.reverb = 0.06f, .reverbSeconds = 0.7f}}}),
        oneShot("One Shots/Percussion", "Shaker_Gourd_01", {"Small Percussion", "Shaker"},
                {"Acoustic", "Dry", "Short"}, 0.2, aiff(16, 1), {{DrumPart{{{Drum::Shaker, "X"}}}}}),
        oneShot("One Shots/Percussion", "Conga_Open_01", {"Hand Percussion", "Conga"},
                {"Acoustic", "Warm", "Dry"}, 0.4, wav(24),
                {{DrumPart{{{Drum::LowConga, "X"}}}, {.reverb = 0.03f, .reverbSeconds = 0.5f}}}),
    };
}

std::vector<LoopEntry> tonal() {
    return {
        loop("Bass Loops", "Bass_BridgeWalker_01", {"Bass Guitar", "Picked Bass"},
             {"Warm", "Funky", "Hypnotic"}, 4, aiff(16, 1),
             {{LinePart{slapBass(), "1-.1?5-.7?8-.7?5.|1-.1?5-.4?3-.1?7,.", Follow::Root, 31, 0.8f},
               {.lowPass = 1600}}}),
        loop("Guitar Loops", "Gtr_TenorWeave_01", {"Electric Guitar", "Palm Mute"},
             {"Clean", "Hypnotic", "Muted"}, 4, wav(16),
             {{LinePart{mutedGuitar(), "1.3?5.4?3.5?.7.5?.4?.|1.3?5.4?6.5?.3.4?.2?.", Follow::Key, 67, 0.8f},
               {.highPass = 180, .chorus = 0.3f, .delay = 0.2f, .delaySteps = 2, .reverb = 0.05f}}}),
        loop("Brass Loops", "Horns_ConfluenceLine_01", {"Brass", "Trumpet"}, {"Bright", "Live", "Happy"}, 4,
             wav(24, 1),
             {{LinePart{brassSection(), "5!-.5?7-..8-..7?.|5---..4?.3---..|5!-.5?7-..9-..8?.|7---5---4?-3---",
                        Follow::Key, 67, 0.8f},
               {.highPass = 150, .chorus = 0.3f, .reverb = 0.08f, .reverbSeconds = 1.2f}}}),
        loop("Keys Loops", "Organ_SundayFerry_01", {"Organ", "Tonewheel Organ"}, {"Warm", "Vintage", "Loose"},
             2, aiff(24),
             {{ChordPart{tonewheelOrgan(), "..x...x...x.x.", 4, 64, 0, 0.5f},
               {.drive = 0.2f, .tremolo = 0.3f, .tremoloSteps = 1, .chorus = 0.4f, .reverb = 0.05f}}}),
    };
}

}  // namespace

Pack sevenRivers() {
    Pack pack{.title = "Seven Rivers",
              .prefix = "SR",
              .genre = "Afrobeat",
              .author = "Confluence Tapes",
              .year = 2022,
              .tempo = 126,
              .meter = {7, 8},
              .key = {7, Mode::Dorian},
              .progression = {1, 1, 4, 1},
              .looseness = 5};
    pack.kit = {
        .kick = {.startHz = 130, .endHz = 62, .sweep = 0.05f, .decay = 0.24f, .click = 0.6f, .drive = 1.3f},
        .snare =
            {.toneHz = 235, .toneDecay = 0.12f, .noiseHz = 2200, .noiseDecay = 0.16f, .noiseLevel = 0.7f},
        .metal = 1.05f,
        .hatDecay = 0.06f,
        .openDecay = 0.3f,
        .tune = 1.1f};
    pack.add(drums());
    pack.add(tonal());
    return pack;
}

}  // namespace loopmaker
