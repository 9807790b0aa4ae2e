// SPDX-License-Identifier: MIT
#include <MarlCore/Common/MarlTextAttributes.h>

#include <MarlCore/Common/MarlPreferences.h>

namespace marl {
namespace {

constexpr platform::Color kBlack(0, 0, 0), kGhost(0, 0, 0, 0.5f);

}  // namespace

constinit MarlTextAttributes MarlSectionLabelAttributes{kBlack};
constinit MarlTextAttributes MarlGhostedSectionLabelAttributes{kGhost};

void initializeMarlTextAttributes() {
    MarlSectionLabelAttributes.color = kBlack;
    // The first call comes before the defaults are registered: 0 is "not set", and no text is invisible.
    const float opacity = MarlPreferences::floatForKey(MarlGhostedAudioSectionOpacityKey);
    MarlGhostedSectionLabelAttributes.color = opacity > 0 ? platform::Color(0, 0, 0, opacity) : kGhost;
}

}  // namespace marl
