// SPDX-License-Identifier: MIT
/// \file
/// Sounds without notes: crackle, rain, sea, and the effects that lead from one part of a track to the next.
#pragma once

#include "Random.h"
#include "Signal.h"

namespace loopmaker {

enum class Texture { VinylCrackle, Rain, Sea, Riser, Downlifter, Whoosh, Impact };

struct TextureSound {
    StereoSignal signal;
    std::vector<std::size_t> onsets;  ///< frames of the louder events, unsorted
};

/// `frames` frames. The first three wrap around seamlessly, the others have a beginning and an end.
/// `tonicHz` tunes what has a pitch.
TextureSound makeTexture(Texture texture, std::size_t frames, double rate, float tonicHz, Random& random);

}  // namespace loopmaker
