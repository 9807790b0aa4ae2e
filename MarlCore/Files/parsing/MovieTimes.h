// SPDX-License-Identifier: MIT
/// \file
/// How long the frames of a movie's picture last, and how they are numbered.
#pragma once

#include <MarlCore/Files/parsing/Movie.h>

namespace marl::movie {

/// Frames of equal length.
struct FrameTimes {
    std::uint32_t timeScale = 0;      // units a second; at least 1
    std::uint32_t frameDuration = 0;  // in these units; at least 1
    int framesPerSecond = 0;          // as they are counted, 1 to 255
    bool dropsFrames = false;         // in the numbering only
    std::int64_t firstFrame = 0;      // the number of the movie's first frame
};

/// What the first time code track of `movie` says, or else the first frame of its first picture track.
/// Nothing for a movie with neither, or where they make no sense.
std::optional<FrameTimes> readFrameTimes(IFileData& file, const Movie& movie);

}  // namespace marl::movie
