// SPDX-License-Identifier: MIT
/// \file
/// A movie as a host sees it.
#pragma once

#include <MarlCore/MediaManager/CMovieInstance.h>

#include <string>

namespace marl {

/// A rectangle of the screen, in pixels.
struct MovieRectangle {
    float x = 0, y = 0;
    platform::Size size;

    friend bool operator==(const MovieRectangle&, const MovieRectangle&) = default;
};

/// Wraps a `CMovieInstance`. Every operation raises `platform::Exception` with the reason for a person to
/// read. [any thread]
class MARLCORE_EXPORT MarlMovie {
public:
    /// Opens the movie at `path`, in UTF-8.
    explicit MarlMovie(const std::string& path);
    /// Wraps a movie that is open; raises for null.
    explicit MarlMovie(const CMovieInstanceRef& movie);

    const CMovieInstanceRef& movieInstance() const noexcept { return m_movie; }

    double duration() const noexcept { return m_movie->seconds(); }  ///< seconds
    std::uint32_t timeScale() const noexcept { return m_movie->timeScale(); }
    const std::vector<MovieTrack>& tracks() const noexcept { return m_movie->tracks(); }
    bool hasVideo() const noexcept { return m_movie->hasVideo(); }
    platform::Size pictureSize() const noexcept { return m_movie->pictureSize(); }

    /// The code ("hh:mm:ss:ff") of the frame at `timeValue`, in units of the time scale.
    std::string timeCodeForTimeValue(std::int64_t timeValue) const;
    std::int64_t timeValueForTimeCode(const std::string& timeCode) const;

    /// The largest rectangle of the picture's shape in the middle of `bounds`; empty without picture.
    MovieRectangle pictureRectangleIn(const MovieRectangle& bounds) const noexcept;

private:
    CMovieInstanceRef m_movie;
};

}  // namespace marl
