// SPDX-License-Identifier: MIT
/// \file
/// The samples of a file in the width that an output wants.
#pragma once

#include "marl/LoopFile.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace marl::tool {

/// How samples are delivered: a row of `kSampleFormats`.
struct SampleFormat {
    const char* name;
    int bits;
};

inline constexpr SampleFormat kSampleFormats[] = {{"s16", 16}, {"s24", 24}, {"f32", 32}};

/// What samples are delivered as.
struct Delivery {
    int bits;
    double sampleRate;  // Hz
    int channels;
};

/// What is left open (an empty format, 0) is taken from the file: as wide as that, at least 16 bits.
Delivery deliveryFor(const LoopFile& loop, const std::string& format, double sampleRate, int channels);

/// Says on `err` when the file at `path` has more samples than can be counted, which are left out.
void reportCutOff(const std::string& path, const LoopFile& loop, std::ostream& err);

/// Sets up `loop` for a delivery. Throws what the library throws for a conversion that is not supported.
class SampleStream {
public:
    /// Takes samples in order, a block at a time: interleaved, host order, 24 bits packed.
    using Taker = std::function<void(std::span<const std::byte>)>;

    SampleStream(const LoopFile& loop, const Delivery& delivery);

    /// Of the whole file, as delivered.
    int frames() const noexcept { return m_frames; }
    /// Hands over all frames, which the calling thread reads.
    void forEachBlock(const Taker& take);
    /// Hands over the frames from `first` to `end` (exclusive), which a thread of its own reads ahead of
    /// `take`. For a streamed file.
    void forEachBlockReadAhead(int first, int end, const Taker& take);

private:
    using Reader = std::function<const void*(int first, int last, int* outLast)>;

    void deliver(int first, int end, const Reader& read, const Taker& take);
    std::span<const std::byte> widened(std::span<const std::byte> block);

    IFileDataRef m_data;
    int m_deliveredBits;  // what the file data converts to
    int m_bits;           // what comes out
    int m_channels;
    int m_frames = 0;
    std::vector<std::byte> m_block;
};

}  // namespace marl::tool
