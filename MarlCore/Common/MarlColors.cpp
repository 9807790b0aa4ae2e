// SPDX-License-Identifier: MIT
#include <MarlCore/Common/MarlColors.h>

namespace marl {
namespace {

constexpr platform::Color kWaveformBlue(0.16f, 0.42f, 0.72f);  // opaque; reads on white and on black

}  // namespace

// Right before `initializeMarlColors` as well, whatever static objects ask for it.
constinit platform::Color MarlWaveformColor = kWaveformBlue;

void initializeMarlColors() {
    MarlWaveformColor = kWaveformBlue;
}

}  // namespace marl
