// SPDX-License-Identifier: MIT
/// \file
/// Plays one file of a pack.
#pragma once

#include "Packs.h"

namespace loopmaker {

struct RenderedLoop {
    LoopDescription description;  ///< with its transients
    std::vector<float> samples;   ///< interleaved, -1 to 1, at the description's rate and channels
};

/// The same pack, entry and seed give the same samples. Peaks at -3 to -1 dB of full scale. A loop's tails
/// sound on in its start.
RenderedLoop renderLoop(const Pack& pack, const LoopEntry& entry, std::uint64_t seed);

}  // namespace loopmaker
