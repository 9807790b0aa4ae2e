// SPDX-License-Identifier: MIT
/// \file
/// The forms in which movies store samples, brought to those that a conversion can start from.
#pragma once

#include <MarlCore/Files/parsing/SoundDescription.h>

#include <cstddef>
#include <span>

namespace marl::movie {

/// True when `decodeSamples` has nothing to do: what is stored already is of `width` bytes, in whichever
/// order.
inline bool isAsStored(const SoundDescription& sound, int width) noexcept {
    const bool isWideInteger = !sound.isFloat && sound.bytesPerSample == 4;
    const bool isSignedByte = sound.bytesPerSample == 1 && sound.isSigned;
    return sound.bytesPerSample == width && !isWideInteger && !isSignedByte;
}

/// Makes samples of `width` bytes of stored ones: unsigned bytes, or in host order integers of 2 and 3 bytes,
/// and floats of 4 bytes. As many as `samples` has room for and `stored` holds; both whole samples, and the
/// same memory only for single bytes.
void decodeSamples(const SoundDescription& sound, std::span<const std::byte> stored, int width,
                   std::span<std::byte> samples) noexcept;

}  // namespace marl::movie
