// SPDX-License-Identifier: MIT
/// \file
/// The colours that the whole process shares.
#pragma once

#include <MarlCore/platform/Color.h>

namespace marl {

/// What waveforms are drawn in unless they are given another colour. A host may set it. [main thread]
extern MARLCORE_EXPORT platform::Color MarlWaveformColor;

/// Gives the shared colours their own values; `MarlPreferences::initializeDefaults` does this. [main thread]
MARLCORE_EXPORT void initializeMarlColors();

}  // namespace marl
