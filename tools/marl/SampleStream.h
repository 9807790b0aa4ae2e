// SPDX-License-Identifier: MIT
/// \file
/// The samples of a file in the width that an output wants.
#pragma once

#include "marl/LoopFile.h"

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace marl::tool {

/// How samples are delivered: a row of `kSampleFormats`.
struct SampleFormat {
    const char* name;
    int bits;
};

inline constexpr SampleFormat kSampleFormats[] = {{"s16", 16}, {"s24", 24}, {"f32", 32}};

/// Sets up `loop` for delivery in `bits` a sample, at `sampleRate` Hz and with `channels` channels.
/// Throws what the library throws for a conversion that is not supported.
class SampleStream {
public:
    SampleStream(const LoopFile& loop, int bits, double sampleRate, int channels);

    /// Calls `take` with all samples in order, a block at a time: interleaved, host order, 24 bits packed.
    void forEachBlock(const std::function<void(std::span<const std::byte>)>& take);

private:
    std::span<const std::byte> widened(std::span<const std::byte> block);

    IFileData& m_data;
    int m_deliveredBits;  // what the file data converts to
    int m_bits;           // what comes out
    int m_samples = 0;
    std::vector<std::byte> m_block;
};

}  // namespace marl::tool
