// SPDX-License-Identifier: MIT
/// \file
/// How the labels of audio sections are written.
#pragma once

#include <MarlCore/platform/Color.h>

namespace marl {

/// The colour of a text; its size is a setting of each place.
struct MarlTextAttributes {
    platform::Color color;
};

// Shared by the whole process. [main thread]

extern MARLCORE_EXPORT MarlTextAttributes MarlSectionLabelAttributes;
/// For sections that are shown as ghosts: muted, or being moved.
extern MARLCORE_EXPORT MarlTextAttributes MarlGhostedSectionLabelAttributes;

/// Gives them their values; `MarlPreferences::initializeDefaults` does this. Ghosts have the opacity that the
/// user has set under "Ghosted Audio Section Opacity", or half, while there is none. [main thread]
MARLCORE_EXPORT void initializeMarlTextAttributes();

}  // namespace marl
