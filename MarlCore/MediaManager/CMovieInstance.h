// SPDX-License-Identifier: MIT
/// \file
/// A QuickTime movie as those who show it need to know it.
#pragma once

#include <MarlCore/MediaManager/CTimeCode.h>
#include <MarlCore/foundation/CURL.h>
#include <MarlCore/platform/Size.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace marl {

/// What a track of a movie holds.
enum class MovieTrackKind { kSound, kVideo, kTimeCode, kOther };

/// A track of a movie.
struct MovieTrack {
    std::uint32_t id = 0;
    MovieTrackKind kind = MovieTrackKind::kOther;
    bool isEnabled = false;
    std::uint64_t duration = 0;  ///< in the movie's time scale
    platform::Size size;         ///< of its picture, in pixels; zero for sound
};

/// What the header of a movie says: times, tracks, picture size and time codes. Nothing is decoded. The file
/// is read when the movie is opened, and closed again. Immutable. [any thread]
class MARLCORE_EXPORT CMovieInstance : public halyard::CSharedObject {
public:
    /// No movie is open: nothing is in it.
    CMovieInstance() = default;
    /// Opens the movie at `url`. The flag and the number take the place of a movie's activation and its
    /// number in the file, which holds one; they are not used. Throws `CNullPointerException` "Error: fileURL
    /// is null!", `CException` (file error), and `CParamException` for what is no movie.
    CMovieInstance(const CURLRef& url, bool isActive, long number);

    bool isOpen() const noexcept { return m_timeScale != 0; }
    /// True when a track that is enabled has a picture.
    bool hasVideo() const noexcept;
    /// True when there is a sound track, enabled or not.
    bool hasSound() const noexcept;

    /// Units a second of all times here; 0 when no movie is open.
    std::uint32_t timeScale() const noexcept { return m_timeScale; }
    /// As the header states it, in units of the time scale; 0 where it does not, which a movie in fragments
    /// need not.
    std::uint64_t duration() const noexcept { return m_duration; }
    /// In seconds.
    double seconds() const noexcept;

    /// In the order of the file.
    const std::vector<MovieTrack>& tracks() const noexcept { return m_tracks; }
    /// Of the first enabled track with a picture, in pixels; zero when there is none.
    platform::Size pictureSize() const noexcept;

    /// How frames are counted: as the movie's time code track says, or else by the frames of its picture,
    /// from 0 on. Nothing for a movie with neither.
    const std::optional<TimeCodeFormat>& timeCodeFormat() const noexcept { return m_format; }
    /// The code of the frame that is seen at time `value` of the movie. Throws `CParamException` "the movie
    /// has no frames to count".
    CTimeCode timeCodeAt(std::int64_t value) const;
    /// The first time of the movie at which that frame is seen; negative for one before its start. Throws
    /// likewise.
    std::int64_t timeValueOf(const CTimeCode& timeCode) const;

private:
    const TimeCodeFormat& requireFormat() const;

    std::uint32_t m_timeScale = 0;
    std::uint64_t m_duration = 0;
    std::vector<MovieTrack> m_tracks;
    std::optional<TimeCodeFormat> m_format;
    std::int64_t m_firstFrame = 0;  // number of the movie's first frame
};

using CMovieInstanceRef = halyard::CSharedObjectRef<CMovieInstance>;

}  // namespace marl
