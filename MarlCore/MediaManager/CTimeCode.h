// SPDX-License-Identifier: MIT
/// \file
/// Time codes: frames of a picture, told in hours, minutes, seconds and frames.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace marl {

/// How time codes of a movie count.
struct TimeCodeFormat {
    std::uint32_t timeScale = 25;     ///< units a second
    std::uint32_t frameDuration = 1;  ///< of a frame, in these units
    int framesPerSecond = 25;         ///< that the code counts to, 1 to 255: 30 for 29.97
    /// Leaves out the first numbers of every minute but each tenth (2 of 30 frames a second, 4 of 60), so
    /// that a code of 29.97 frames a second keeps up with the clock. Means nothing at other rates.
    bool dropsFrames = false;

    friend bool operator==(const TimeCodeFormat&, const TimeCodeFormat&) = default;
};

/// The code of one frame. A value. [any thread]
class MARLCORE_EXPORT CTimeCode {
public:
    /// Of frame `frameNumber`, counted from 00:00:00:00 on; those before are taken for it.
    CTimeCode(const TimeCodeFormat& format, std::int64_t frameNumber) noexcept;
    /// From "hh:mm:ss:ff"; the last separator may be ";". Throws `CParamException` for text of another form
    /// and for a number that the format does not count.
    CTimeCode(const TimeCodeFormat& format, std::string_view text);

    std::int64_t frameNumber() const noexcept { return m_frameNumber; }
    const TimeCodeFormat& format() const noexcept { return m_format; }
    /// "hh:mm:ss:ff", or "hh:mm:ss;ff" where frames are dropped.
    std::string text() const;

private:
    TimeCodeFormat m_format;
    std::int64_t m_frameNumber;
};

/// Helpers of movies.
class MARLCORE_EXPORT CMovieToolbox {
public:
    /// When the frame of `timeCode` begins, in units of its format's time scale from 00:00:00:00 on.
    static std::int64_t quickTimeTime(const CTimeCode& timeCode) noexcept;
};

}  // namespace marl
