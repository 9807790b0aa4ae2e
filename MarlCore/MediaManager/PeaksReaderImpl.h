// SPDX-License-Identifier: MIT
/// \file
/// Peaks of a range of frames, straight from the samples.
#pragma once

#include <MarlCore/Files/IFileData.h>
#include <MarlCore/MediaManager/CPeaksBuffer.h>

#include <cstdint>
#include <span>

namespace marl::peaks {

/// Frames that are shared out among entries, each frame to one entry: entry k has the frames f with
/// floor((f - first) * entries / spread) = k, and the last one all up to `end`. Counted in integers: single
/// precision would lose frames from the sixth minute on.
struct FrameRange {
    std::uint64_t first = 0;
    std::uint64_t end = 0;  ///< exclusive
    std::uint64_t spread = 1;

    /// `from` to `to`, both inclusive. The entries are spread over their difference, so that they begin where
    /// the columns of a picture do that is as wide as that; the last frame goes to the last entry. Empty when
    /// `to` lies before `from`.
    static FrameRange between(std::uint32_t from, std::uint32_t to) noexcept;

    /// `count` entries of `framesPerEntry` each.
    static FrameRange ofEntries(std::uint64_t first, std::uint64_t framesPerEntry,
                                std::uint64_t count) noexcept {
        const std::uint64_t frames = framesPerEntry * count;
        return {first, first + frames, frames != 0 ? frames : 1};
    }
};

/// Fills `peaks` (one a lane and entry) with those of the frames of `range`. The first lane is the first
/// channel; the second lane the second one, or the first one where there is no other. Floats are taken as
/// they are, all other samples at 16 bits.
///
/// Waits for the disk where `load` is true. What cannot be read makes all peaks zero, and so does a range
/// without frames; entries behind the end of the stream are zero as well, which is how silence looks. An
/// entry without frames in the stream stays at (-1, 1). Data that cannot describe its format, or has one that
/// is unknown, shows full scale. [one thread at a time]
void readPeaks(IFileData& data, const FrameRange& range, bool load, unsigned lanes, std::span<Peak> peaks);

}  // namespace marl::peaks
