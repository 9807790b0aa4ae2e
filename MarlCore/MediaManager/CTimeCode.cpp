// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/CTimeCode.h>

#include <MarlCore/foundation/CException.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace marl {
namespace {

/// Longer than any movie, and small enough that its time is a number.
constexpr std::int64_t kMostFrames = std::int64_t{1} << 31;

constexpr int kMostHours = 9999;

int framesPerSecond(const TimeCodeFormat& format) noexcept {
    return std::clamp(format.framesPerSecond, 1, 255);
}

/// Numbers that are left out of a minute. Only rates a little below 30 frames a second, and multiples of it,
/// have a use for that.
int droppedAMinute(const TimeCodeFormat& format) noexcept {
    const int rate = framesPerSecond(format);
    return format.dropsFrames && rate % 30 == 0 ? rate / 15 : 0;
}

/// The number of a frame as the code counts: with those that are left out.
std::int64_t countedNumber(const TimeCodeFormat& format, std::int64_t frame) noexcept {
    const std::int64_t dropped = droppedAMinute(format);
    const std::int64_t minute = framesPerSecond(format) * 60 - dropped;
    const std::int64_t tenMinutes = minute * 10 + dropped;
    const std::int64_t rest = frame % tenMinutes;
    // The first of ten minutes has all of its numbers.
    const std::int64_t minutesBegun = rest < dropped ? 0 : (rest - dropped) / minute;
    return frame + dropped * (9 * (frame / tenMinutes) + minutesBegun);
}

[[noreturn]] void throwNoTimeCode(std::string_view text) {
    throw halyard::CParamException(halyard::kParameterError, "'%.*s' is no time code",
                                   static_cast<int>(std::min<std::size_t>(text.size(), 64)), text.data());
}

/// Hours, minutes, seconds and frames.
std::array<int, 4> fieldsOf(std::string_view text) {
    std::array<int, 4> fields{};
    std::size_t at = 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t first = at;
        for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && at - first < 4; ++at)
            fields[i] = fields[i] * 10 + (text[at] - '0');
        const bool isLast = i + 1 == fields.size();
        const bool ends =
            isLast ? at == text.size() : at < text.size() && (text[at] == ':' || (i == 2 && text[at] == ';'));
        if (at == first || !ends) throwNoTimeCode(text);
        ++at;
    }
    return fields;
}

std::int64_t frameOf(const TimeCodeFormat& format, std::string_view text) {
    const auto [hours, minutes, seconds, frames] = fieldsOf(text);
    const int dropped = droppedAMinute(format);
    const bool isDropped = frames < dropped && seconds == 0 && minutes % 10 != 0;
    if (hours > kMostHours || minutes > 59 || seconds > 59 || frames >= framesPerSecond(format) || isDropped)
        throwNoTimeCode(text);
    const std::int64_t minute = std::int64_t{hours} * 60 + minutes;
    return (minute * 60 + seconds) * framesPerSecond(format) + frames - dropped * (minute - minute / 10);
}

}  // namespace

CTimeCode::CTimeCode(const TimeCodeFormat& format, std::int64_t frameNumber) noexcept
    : m_format(format), m_frameNumber(std::clamp(frameNumber, std::int64_t{0}, kMostFrames)) {}

CTimeCode::CTimeCode(const TimeCodeFormat& format, std::string_view text)
    : CTimeCode(format, frameOf(format, text)) {}

std::string CTimeCode::text() const {
    const int rate = framesPerSecond(m_format);
    const std::int64_t number = countedNumber(m_format, m_frameNumber), seconds = number / rate;
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%02d", static_cast<int>(seconds / 3600),
                  static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60),
                  m_format.dropsFrames ? ';' : ':', static_cast<int>(number % rate));
    return text;
}

std::int64_t CMovieToolbox::quickTimeTime(const CTimeCode& timeCode) noexcept {
    return timeCode.frameNumber() * timeCode.format().frameDuration;
}

}  // namespace marl
