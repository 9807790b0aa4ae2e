// SPDX-License-Identifier: MIT
/// \file
/// What a search asks of loops beside their keys.
#pragma once

#include <MarlCore/Files/parsing/LoopMetadata.h>

#include <cstdint>

namespace marl {

struct SearchFilters {
    /// Compared exactly; 0/0 matches every file.
    tagging::TimeSignature timeSignature{0, 0};
    /// The scale of the loop; 0: any. Loops without a root note match every one.
    std::int16_t keyType = 0;
    /// Semitones that a loop's root note may lie from the project's key, up or down.
    std::int32_t keyTolerance = 0;
};

}  // namespace marl
