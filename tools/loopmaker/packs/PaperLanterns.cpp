// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

constexpr TimeSignature kSixEight = {6, 8};

std::vector<LoopEntry> waltzes() {
    return {
        loop("Waltz/Drum Loops", "Drums_BrushWaltz_01", {"Drum Kit", "Full Kit"},
             {"Acoustic", "Soft", "Live", "Light"}, 4, wav(16),
             {{DrumPart{{{Drum::Kick, "X...........|x.........g.", 0.8f},
                         {Drum::Brush, "....X...x...|....X.g.x.o.", 0.8f, 0.1f},
                         {Drum::Ride, "x...x.g.x...", 0.3f, 0.3f}},
                        {{Drum::Kick, "x...........", 0.8f}, {Drum::Brush, "..o.xgo.XoXx", 0.8f, 0.1f}}},
               {.reverb = 0.07f, .reverbSeconds = 0.9f}}}),
        loop("Waltz/Bass Loops", "Bass_UprightOne_01", {"Bass Guitar", "Upright Bass"},
             {"Acoustic", "Warm", "Simple"}, 4, aiff(16, 1),
             {{LinePart{uprightBass(), "1-------....|5,-------....|1-------....|5,-----6,-7,-", Follow::Root,
                        31}}}),
        loop("Waltz/Guitar Loops", "Gtr_LanternStrum_01", {"Acoustic Guitar", "Steel Guitar"},
             {"Acoustic", "Bright", "Happy", "Live"}, 4, wav(16),
             {{ChordPart{steelGuitar(), "X---x-o-x-o-", 3, 60, 0.012f},
               {.highPass = 90, .reverb = 0.05f, .reverbSeconds = 0.9f}}}),
        loop("Waltz/Accordion Loops", "Accordion_PaperMoon_01", {"Organ", "Accordion"},
             {"Acoustic", "Happy", "Vintage"}, 8, aiff(16, 1),
             {{LinePart{accordion(),
                        "3-----2-1---|5-------3---|6-----5-4---|5-------....|"
                        "8-----7-6---|5---6---5---|4-----3-2---|1-------....",
                        Follow::Key, 67},
               {.chorus = 0.35f, .reverb = 0.08f, .reverbSeconds = 1.2f}},
              {ChordPart{accordion(), "....x-..x-..", 3, 58, 0, 0.5f}, {.reverb = 0.05f}, 0.45f}}),
        oneShot("One Shots/Brushes", "Brush_PaperTap_01", {"Snare", "Acoustic Snare"},
                {"Soft", "Acoustic", "Light"}, 0.4, wav(16, 1), {{DrumPart{{{Drum::Brush, "X"}}}}}),
        oneShot("One Shots/Guitar", "Gtr_NylonOpen_01", {"Acoustic Guitar", "Nylon Guitar"},
                {"Acoustic", "Warm"}, 1.8, aiff(24, 1),
                {{LinePart{nylonGuitar(), "1---------------", Follow::Key, 55}}}),
    };
}

std::vector<LoopEntry> jigs() {
    return {
        inMeter(kSixEight, loop("Six Eight/Drum Loops", "Drums_FrameJig_01",
                                {"Hand Percussion", "Frame Drum"}, {"Acoustic", "Fast", "Live"}, 4, wav(16),
                                {{DrumPart{{{Drum::LowConga, "X.g.o.x.g.o.|X.g.o.x.o.x.", 0.9f},
                                            {Drum::Tambourine, "......X.....", 0.3f, 0.4f},
                                            {Drum::Shaker, "x.g.o.x.g.o.", 0.3f, -0.4f}}},
                                  {.reverb = 0.08f, .reverbSeconds = 1}}})),
        inMeter(kSixEight,
                loop("Six Eight/Guitar Loops", "Gtr_PickedJig_01", {"Acoustic Guitar", "Fingerpicking"},
                     {"Acoustic", "Fast", "Happy", "Clean"}, 4, aiff(16),
                     {{LinePart{nylonGuitar(), "1-3-4-5-4-3-", Follow::Voicing, 52, 0.95f, 3},
                       {.reverb = 0.06f, .reverbSeconds = 1.1f}}})),
        inMeter(kSixEight,
                loop("Six Eight/Mallet Loops", "Marimba_FireflyJig_01", {"Mallet", "Marimba"},
                     {"Acoustic", "Bright", "Happy"}, 4, wav(24, 2, 48000),
                     {{LinePart{marimba(), "1-3-5-8-5-3-|2-4-6-9-6-4-|3-5-8-3'-8-5-|2-5-7-9-7-5-",
                                Follow::Key, 67},
                       {.highPass = 120, .delay = 0.15f, .reverb = 0.08f, .reverbSeconds = 1.3f}}})),
    };
}

}  // namespace

Pack paperLanterns() {
    Pack pack{.title = "Paper Lanterns",
              .prefix = "PL",
              .genre = "Folk",
              .author = "Hedgerow Recordings",
              .year = 2019,
              .tempo = 132,
              .meter = {3, 4},
              .key = {7, Mode::Major},
              .progression = {1, 5, 6, 4, 1, 4, 5, 1},
              .looseness = 6};
    pack.kit = {
        .kick = {.startHz = 120, .endHz = 58, .sweep = 0.05f, .decay = 0.3f, .click = 0.3f, .drive = 1.1f},
        .metal = 1.15f,
        .tune = 0.8f};
    pack.add(waltzes());
    pack.add(jigs());
    return pack;
}

}  // namespace loopmaker
