// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/CMovieInstance.h>

#include <MarlCore/Files/CMemoryFileData.h>
#include <MarlCore/Files/parsing/MovieTimes.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace marl {
namespace {

MovieTrackKind kindOf(movie::Code handler) noexcept {
    switch (handler) {
        case movie::kSoundHandler:
            return MovieTrackKind::kSound;
        case movie::kVideoHandler:
            return MovieTrackKind::kVideo;
        case movie::kTimeCodeHandler:
            return MovieTrackKind::kTimeCode;
        default:
            return MovieTrackKind::kOther;
    }
}

MovieTrack describe(const movie::Track& track) noexcept {
    const platform::Size size{static_cast<float>(track.width), static_cast<float>(track.height)};
    return {track.id, kindOf(track.handler), track.isEnabled, track.duration, size};
}

bool isShown(const MovieTrack& track) noexcept {
    return track.kind == MovieTrackKind::kVideo && track.isEnabled;
}

/// Beyond every time of a movie.
constexpr double kFurthest = 9e18;

std::int64_t wholeNumber(double value) noexcept {
    return static_cast<std::int64_t>(std::clamp(value, -kFurthest, kFurthest));
}

}  // namespace

CMovieInstance::CMovieInstance(const CURLRef& url, bool, long) {
    const IFileDataRef file(new CMemoryFileData(url, false, true));
    const movie::Movie movie = movie::readMovie(*file);
    if (movie.timeScale == 0)
        throw halyard::CParamException(halyard::kParameterError, "the movie states no time scale");
    m_timeScale = movie.timeScale;
    m_duration = movie.duration;
    std::ranges::transform(movie.tracks, std::back_inserter(m_tracks), describe);
    if (const auto times = movie::readFrameTimes(*file, movie)) {
        m_format = {times->timeScale, times->frameDuration, times->framesPerSecond, times->dropsFrames};
        m_firstFrame = times->firstFrame;
    }
}

bool CMovieInstance::hasVideo() const noexcept {
    return std::ranges::any_of(m_tracks, isShown);
}

bool CMovieInstance::hasSound() const noexcept {
    return std::ranges::find(m_tracks, MovieTrackKind::kSound, &MovieTrack::kind) != m_tracks.end();
}

double CMovieInstance::seconds() const noexcept {
    return isOpen() ? static_cast<double>(m_duration) / m_timeScale : 0;
}

platform::Size CMovieInstance::pictureSize() const noexcept {
    const auto track = std::ranges::find_if(m_tracks, isShown);
    return track == m_tracks.end() ? platform::Size() : track->size;
}

const TimeCodeFormat& CMovieInstance::requireFormat() const {
    if (!m_format)
        throw halyard::CParamException(halyard::kParameterError, "the movie has no frames to count");
    return *m_format;
}

CTimeCode CMovieInstance::timeCodeAt(std::int64_t value) const {
    const TimeCodeFormat& format = requireFormat();
    const double frames = static_cast<double>(value) * format.timeScale / m_timeScale / format.frameDuration;
    return {format, wholeNumber(std::floor(frames)) + m_firstFrame};
}

/// Rounded up, to the first unit that lies in the frame.
std::int64_t CMovieInstance::timeValueOf(const CTimeCode& timeCode) const {
    const TimeCodeFormat& format = requireFormat();
    const auto frames = static_cast<double>(timeCode.frameNumber() - m_firstFrame);
    return wholeNumber(std::ceil(frames * format.frameDuration * m_timeScale / format.timeScale));
}

}  // namespace marl
