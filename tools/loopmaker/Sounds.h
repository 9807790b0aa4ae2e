// SPDX-License-Identifier: MIT
/// \file
/// The sounds that more than one pack plays.
#pragma once

#include "Voices.h"

namespace loopmaker {

SubtractiveSound subBass();
SubtractiveSound sawBass();
SubtractiveSound acidBass();
SubtractiveSound reeseBass();
SubtractiveSound warmPad();
SubtractiveSound stringPad();
SubtractiveSound superSaw();
SubtractiveSound houseStab();
SubtractiveSound brassSection();
SubtractiveSound squareLead();
SubtractiveSound accordion();

FMSound electricPiano();
FMSound glassBell();
FMSound slapBass();

PluckSound nylonGuitar();
PluckSound steelGuitar();
PluckSound mutedGuitar();
PluckSound uprightBass();
PluckSound clavinet();
PluckSound harp();

AdditiveSound tonewheelOrgan();
AdditiveSound marimba();
AdditiveSound vibraphone();
AdditiveSound kalimba();

}  // namespace loopmaker
