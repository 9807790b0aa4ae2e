// SPDX-License-Identifier: MIT
#include "Sounds.h"

namespace loopmaker {

// Envelopes are written {attack, decay, sustain, release}; partials {ratio, level, decay}.

SubtractiveSound subBass() {
    return {.wave = Wave::Triangle,
            .sub = 0.9f,
            .cutoff = 350,
            .sweep = 1.2f,
            .q = 0.7f,
            .filter = {0.003f, 0.2f, 0.2f, 0.1f},
            .amp = {0.005f, 0.3f, 0.85f, 0.06f},
            .drive = 0.25f};
}

SubtractiveSound sawBass() {
    return {.unison = 2,
            .detune = 6,
            .sub = 0.6f,
            .cutoff = 220,
            .sweep = 3.2f,
            .q = 1.6f,
            .filter = {0.002f, 0.28f, 0.15f, 0.1f},
            .amp = {0.003f, 0.3f, 0.75f, 0.06f},
            .drive = 0.3f};
}

SubtractiveSound acidBass() {
    return {.sub = 0.15f,
            .cutoff = 280,
            .sweep = 3.6f,
            .q = 7.0f,
            .filter = {0.002f, 0.22f, 0.05f, 0.06f},
            .amp = {0.003f, 0.3f, 0.7f, 0.04f},
            .drive = 0.5f};
}

SubtractiveSound reeseBass() {
    return {.unison = 3,
            .detune = 24,
            .sub = 0.7f,
            .cutoff = 420,
            .sweep = 1.6f,
            .q = 1.2f,
            .filter = {0.25f, 0.6f, 0.5f, 0.2f},
            .amp = {0.008f, 0.4f, 0.9f, 0.08f},
            .drive = 0.5f};
}

SubtractiveSound warmPad() {
    return {.unison = 5,
            .detune = 14,
            .cutoff = 700,
            .sweep = 1.4f,
            .q = 0.8f,
            .filter = {1.2f, 2.0f, 0.6f, 1.5f},
            .amp = {0.7f, 1.0f, 0.9f, 1.4f}};
}

SubtractiveSound stringPad() {
    return {.unison = 4,
            .detune = 10,
            .cutoff = 1500,
            .sweep = 1.0f,
            .q = 0.7f,
            .filter = {0.5f, 1.0f, 0.7f, 0.8f},
            .amp = {0.28f, 0.6f, 0.85f, 0.7f},
            .vibrato = 9};
}

SubtractiveSound superSaw() {
    return {.unison = 7,
            .detune = 22,
            .cutoff = 2400,
            .sweep = 1.8f,
            .q = 0.8f,
            .filter = {0.004f, 0.5f, 0.5f, 0.3f},
            .amp = {0.004f, 0.4f, 0.75f, 0.25f}};
}

SubtractiveSound houseStab() {
    return {.unison = 3,
            .detune = 11,
            .cutoff = 480,
            .sweep = 3.0f,
            .q = 1.5f,
            .filter = {0.002f, 0.3f, 0.05f, 0.2f},
            .amp = {0.002f, 0.35f, 0.2f, 0.25f}};
}

SubtractiveSound brassSection() {
    return {.unison = 3,
            .detune = 8,
            .cutoff = 500,
            .sweep = 3.0f,
            .q = 0.9f,
            .filter = {0.05f, 0.35f, 0.55f, 0.12f},
            .amp = {0.025f, 0.25f, 0.8f, 0.1f},
            .drive = 0.2f,
            .vibrato = 7};
}

SubtractiveSound squareLead() {
    return {.wave = Wave::Square,
            .unison = 2,
            .detune = 7,
            .cutoff = 1300,
            .sweep = 1.8f,
            .q = 1.2f,
            .filter = {0.005f, 0.4f, 0.4f, 0.2f},
            .amp = {0.008f, 0.3f, 0.7f, 0.15f},
            .vibrato = 14};
}

SubtractiveSound accordion() {
    return {.wave = Wave::Square,
            .unison = 3,
            .detune = 11,
            .cutoff = 1900,
            .sweep = 0.8f,
            .q = 0.8f,
            .filter = {0.05f, 0.4f, 0.8f, 0.1f},
            .amp = {0.05f, 0.3f, 0.9f, 0.09f}};
}

FMSound electricPiano() {
    return {.body = {1, 1, 1.5f, 1.6f, 0.75f, 3.6f},
            .strike = {1, 14, 0.7f, 0.14f, 0.2f, 1.2f},
            .release = 0.22f};
}

FMSound glassBell() {
    return {.body = {1, 3.5f, 2.2f, 1.4f, 0.6f, 3.2f},
            .strike = {2, 7.1f, 1.4f, 0.4f, 0.2f, 1.4f},
            .release = 1.2f};
}

FMSound slapBass() {
    return {.body = {1, 1, 2.6f, 0.35f, 0.85f, 1.8f},
            .strike = {1, 3, 3.4f, 0.07f, 0.3f, 0.35f},
            .release = 0.05f};
}

PluckSound nylonGuitar() {
    return {.brightness = 0.38f, .sustain = 2.6f, .position = 0.28f, .release = 0.1f, .body = 0.45f};
}

PluckSound steelGuitar() {
    return {.brightness = 0.72f, .sustain = 4.0f, .position = 0.16f, .release = 0.12f, .body = 0.3f};
}

PluckSound mutedGuitar() {
    return {.brightness = 0.5f, .sustain = 0.5f, .position = 0.1f, .release = 0.03f, .body = 0.15f};
}

PluckSound uprightBass() {
    return {.brightness = 0.3f, .sustain = 2.2f, .position = 0.22f, .release = 0.09f, .body = 0.5f};
}

PluckSound clavinet() {
    return {.brightness = 0.85f, .sustain = 1.2f, .position = 0.08f, .release = 0.025f, .body = 0.05f};
}

PluckSound harp() {
    return {.brightness = 0.5f, .sustain = 3.4f, .position = 0.45f, .release = 0.6f, .body = 0.3f};
}

AdditiveSound tonewheelOrgan() {
    return {
        .partials =
            {{0.5f, 0.8f, 0}, {1.5f, 0.5f, 0}, {1, 0.9f, 0}, {2, 0.45f, 0}, {3, 0.35f, 0.25f}, {4, 0.15f, 0}},
        .attack = 0.004f,
        .release = 0.04f,
        .click = 0.25f};
}

AdditiveSound marimba() {
    return {.partials = {{1, 1, 0.9f}, {3.93f, 0.3f, 0.25f}, {9.2f, 0.1f, 0.08f}},
            .release = 0.4f,
            .click = 0.5f};
}

AdditiveSound vibraphone() {
    return {.partials = {{1, 1, 4.5f}, {4, 0.22f, 1.6f}, {10, 0.06f, 0.4f}}, .release = 0.8f, .click = 0.12f};
}

AdditiveSound kalimba() {
    return {.partials = {{1, 1, 1.5f}, {2.02f, 0.12f, 0.8f}, {5.4f, 0.18f, 0.2f}},
            .release = 0.7f,
            .click = 0.35f};
}

}  // namespace loopmaker
