// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/MarlMovie.h>

#include <MarlCore/MediaManager/RaisingImpl.h>
#include <MarlCore/platform/Exception.h>

#include <algorithm>

namespace marl {

MarlMovie::MarlMovie(const std::string& path)
    : m_movie(raising([&] {
          const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
          return CMovieInstanceRef(new CMovieInstance(url, true, 0));
      })) {}

MarlMovie::MarlMovie(const CMovieInstanceRef& movie) : m_movie(movie) {
    platform::assertParameter(bool(movie), "movie != nil");
}

std::string MarlMovie::timeCodeForTimeValue(std::int64_t timeValue) const {
    return raising([&] { return m_movie->timeCodeAt(timeValue).text(); });
}

std::int64_t MarlMovie::timeValueForTimeCode(const std::string& timeCode) const {
    return raising([&] {
        const TimeCodeFormat format = m_movie->timeCodeAt(0).format();
        return m_movie->timeValueOf(CTimeCode(format, timeCode));
    });
}

MovieRectangle MarlMovie::pictureRectangleIn(const MovieRectangle& bounds) const noexcept {
    const platform::Size picture = pictureSize();
    if (!(picture.width > 0) || !(picture.height > 0)) return {};
    const float scale = std::min(bounds.size.width / picture.width, bounds.size.height / picture.height);
    const platform::Size size{picture.width * scale, picture.height * scale};
    return {bounds.x + (bounds.size.width - size.width) / 2,
            bounds.y + (bounds.size.height - size.height) / 2, size};
}

}  // namespace marl
