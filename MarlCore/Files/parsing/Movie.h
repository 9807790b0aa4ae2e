// SPDX-License-Identifier: MIT
/// \file
/// What a QuickTime movie says of itself and its tracks.
#pragma once

#include <MarlCore/Files/parsing/MovieAtoms.h>

namespace marl::movie {

inline constexpr Code kSoundHandler = fourCharCode("soun");
inline constexpr Code kVideoHandler = fourCharCode("vide");
inline constexpr Code kTimeCodeHandler = fourCharCode("tmcd");

/// A piece of a track: this much of its media, from that time on; or nothing at all for as long.
struct Edit {
    std::uint64_t duration = 0;  // in the movie's time scale; 0 in the last edit: to the end of the media
    std::int64_t mediaTime = 0;  // in the media's time scale; `kEmpty`: silence
    std::uint32_t rate = 0;      // 65536 is the natural speed

    static constexpr std::int64_t kEmpty = -1;
    static constexpr std::uint32_t kNaturalRate = 65536;
};

/// A track, and where its tables lie.
struct Track {
    std::uint32_t id = 0;
    bool isEnabled = false;
    Code handler = 0;
    std::uint64_t duration = 0;        // in the movie's time scale; 0 when not stated
    double width = 0, height = 0;      // of the picture; 0 for sound
    std::uint32_t mediaTimeScale = 0;  // units a second; 0 when not stated
    std::optional<Atom> edits;
    std::optional<Atom> dataReferences;
    std::optional<Atom> sampleTables;
};

/// A movie's header. Tables are left where they are.
struct Movie {
    Atom place;                   // of 'moov'
    std::uint32_t timeScale = 0;  // units a second; 0 when not stated
    std::uint64_t duration = 0;   // in that time scale; 0 when not stated
    bool isFragmented = false;
    std::vector<Track> tracks;  // at most 1024 of them
};

/// Reads the header of the movie in `file`, wherever it lies. Throws `CParamException` for a file that is
/// none, with what it seems to be.
Movie readMovie(IFileData& file);

/// The edits of `track`; none when all of its media is played. Throws `CParamException` for more than 65536.
std::vector<Edit> readEdits(IFileData& file, const Track& track);

/// `value` in units of `from` a second, in units of `to` a second: the nearest, at most `kMostFrames`.
long long rescaled(double value, double from, double to) noexcept;

/// More frames than a file of any size holds. Products with the size of a frame stay numbers.
inline constexpr long long kMostFrames = 1LL << 40;

}  // namespace marl::movie
