// SPDX-License-Identifier: MIT
#include "../Packs.h"
#include "../Sounds.h"

namespace loopmaker {
namespace {

std::vector<LoopEntry> pads() {
    return {
        loop("Pad Loops", "Pad_LongShore_01", {"Synth Pad", "String Pad"}, {"Lush", "Calm", "Long", "Slow"},
             8, wav(16),
             {{ChordPart{warmPad(), "x---------------", 5, 60},
               {.highPass = 110,
                .lowPass = 2400,
                .sweep = 1,
                .chorus = 0.7f,
                .reverb = 0.2f,
                .reverbSeconds = 4}}}),
        loop("Pad Loops", "Drone_UnderTow_01", {"Synth Pad", "Drone"}, {"Dark", "Deep", "Slow", "Hypnotic"},
             8, aiff(16, 1),
             {{ChordPart{stringPad(), "x---------------|----------------", 2, 50},
               {.lowPass = 700, .sweep = 1.4f, .chorus = 0.5f, .reverb = 0.15f, .reverbSeconds = 4}}}),
        loop("Texture Loops", "Tex_HarbourWaves_01", {"Ambience", "Nature"}, {"Calm", "Airy", "Stereo"}, 2,
             wav(16, 1), {{TexturePart{Texture::Sea}, {.highPass = 90, .lowPass = 1600, .sweep = 0.8f}}}),
        loop("Texture Loops", "Tex_SkylightRain_01", {"Ambience", "Field Recording"},
             {"Calm", "Soft", "Dense"}, 2, aiff(16, 1, 48000),
             {{TexturePart{Texture::Rain},
               {.highPass = 250, .lowPass = 7000, .reverb = 0.08f, .reverbSeconds = 1.2f}}}),
        oneShot("One Shots/FX", "FX_TideWhoosh_01", {"Effect", "Whoosh"}, {"Airy", "Soft", "Wet"}, 2.5,
                wav(24, 2, 48000), {{TexturePart{Texture::Whoosh}, {.reverb = 0.12f, .reverbSeconds = 2}}}),
    };
}

std::vector<LoopEntry> bells() {
    return {
        loop("Melodic Loops", "Kalimba_DriftGlass_01", {"Mallet", "Kalimba"},
             {"Soft", "Happy", "Sparse", "Acoustic"}, 2, wav(16, 1, 96000),
             {{LinePart{kalimba(), "1-5-3'---2'-5---|..6-5-3-....2-..|1-5-3'---5'-2'---", Follow::Key, 62},
               {.highPass = 100, .delay = 0.25f, .delaySteps = 6, .reverb = 0.12f, .reverbSeconds = 2.4f}}}),
        loop("Melodic Loops", "Harp_SlackWater_01", {"Plucked Strings", "Harp"}, {"Acoustic", "Lush", "Calm"},
             2, aiff(24, 2, 48000),
             {{LinePart{harp(), "1-2-3-4-5-4?-3-2?-", Follow::Voicing, 54, 0.95f, 5},
               {.delay = 0.15f, .delaySteps = 6, .reverb = 0.15f, .reverbSeconds = 2.8f}}}),
        loop("Melodic Loops", "Keys_MirrorPond_01", {"Piano", "Electric Piano"},
             {"Warm", "Calm", "Slow", "Wet"}, 2, aiff(16),
             {{ChordPart{electricPiano(), "x-------....o---|........o---....", 5, 62, 0.05f},
               {.chorus = 0.6f,
                .delay = 0.3f,
                .delaySteps = 6,
                .feedback = 0.45f,
                .reverb = 0.15f,
                .reverbSeconds = 3}}}),
        oneShot("One Shots/Bells", "Bell_Buoy_01", {"Mallet", "Bell"}, {"Bright", "Cold", "Long"}, 2.0,
                wav(24, 1, 96000),
                {{LinePart{glassBell(), "1---", Follow::Key, 74}, {.reverb = 0.15f, .reverbSeconds = 2.5f}}}),
    };
}

}  // namespace

Pack glassTides() {
    Pack pack{.title = "Glass Tides",
              .prefix = "GT",
              .genre = "Ambient",
              .author = "Slow Light Library",
              .year = 2020,
              .tempo = 62,
              .key = {2, Mode::Major},
              .progression = {1, 5, 6, 4},

              .looseness = 8};
    pack.add(pads());
    pack.add(bells());
    return pack;
}

}  // namespace loopmaker
