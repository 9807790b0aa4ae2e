// SPDX-License-Identifier: MIT
/// \file
/// Gains and control positions, curved for the eye and the hand.
#pragma once

#include <MarlCore/platform/Export.h>

// Results are rounded to float once; what is computed on the way there is double. No number in, no number
// out. [any thread, playback]

// ---- Faders ----

/// The place of a gain of `dB` on a fader: 0 dB is at 0, -24 dB at -6, -48 dB at -12, -72 dB at -24; straight
/// lines lie in between, and below there are three units to a decibel. Above 0 it is the gain itself.
extern "C" MARLCORE_EXPORT float taperGain(float dB) noexcept;

/// The gain in dB at that place: the inverse of `taperGain`.
extern "C" MARLCORE_EXPORT float untaperGain(float value) noexcept;

// ---- Curves ----
//
// `curve` is the base c of (c^x - 1) / (c - 1), which leads from 0 to 1 as a straight line does: below it for
// c > 1, above it for c < 1. A curve of 1, and one below 0.00001, is that line.

/// The curve at `x`, mirrored through 0: the result for -x is the negative one for x.
extern "C" MARLCORE_EXPORT float doTaper(float curve, float x) noexcept;

/// The inverse of `doTaper`. Beyond the end of a curve with c < 1, at 1 / (1 - c), it is infinite, then no
/// number.
extern "C" MARLCORE_EXPORT float doUntaper(float curve, float x) noexcept;

/// The same for a control whose middle is 0 and whose ends are -1 and 1. Deliberately, above 0 the curve is
/// the one from the other end, 1 - doTaper(curve, 1 - x).
extern "C" MARLCORE_EXPORT float nonlinearToLinear(float curve, float x) noexcept;

/// The inverse of `nonlinearToLinear`.
extern "C" MARLCORE_EXPORT float linearToNonlinear(float curve, float x) noexcept;

/// The same for a control from `negativeRange` (below 0) to `positiveRange` (above 0), neither of them 0:
/// each side has the curve of `nonlinearToLinear` above 0, drawn to the length of its range. 0 stays 0.
extern "C" MARLCORE_EXPORT float nonlinearToLinearWithRange(float curve, float x, float negativeRange,
                                                            float positiveRange) noexcept;

/// The inverse of `nonlinearToLinearWithRange` with the same ranges.
extern "C" MARLCORE_EXPORT float linearToNonlinearWithRange(float curve, float x, float negativeRange,
                                                            float positiveRange) noexcept;
