// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/TimelineMarker.h>

#include <MarlCore/platform/Exception.h>

#include <charconv>
#include <limits>
#include <new>

namespace marl {
namespace {

// The places that hosts know the two failures by.
constexpr char kSource[] = "MediaManager/TimelineMarker";
constexpr int kInitLine = 40;
constexpr int kInitWithCoderLine = 283;

CTimelineMarkerRef newMarker(int line) {
    const CTimelineMarkerRef ref(new (std::nothrow) CTimelineMarker);
    platform::assertParameter(ref != nullptr, "ref", kSource, line);
    return ref;
}

std::optional<std::string> textOf(const CStringRef& text) {
    return text ? std::optional(text->getStringRef()) : std::nullopt;
}

CStringRef stringOf(const std::optional<std::string>& text) {
    return text ? halyard::CSTR(*text) : nullptr;
}

/// As "%.2f" writes it, with a point in every locale.
std::string withTwoDecimals(double value) {
    char digits[std::numeric_limits<double>::max_exponent10 + 8];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value, std::chars_format::fixed, 2);
    return std::string(std::begin(digits), end.ptr);
}

}  // namespace

TimelineMarker::TimelineMarker() : TimelineMarker(newMarker(kInitLine)) {}

TimelineMarker::TimelineMarker(const CTimelineMarkerRef& markerRef) : m_markerRef(markerRef) {
    if (m_markerRef) m_markerRef->setObjectiveCWrapper(this);
}

TimelineMarker::TimelineMarker(const platform::KeyedUnarchiver& coder)
    : TimelineMarker(newMarker(kInitWithCoderLine)) {
    setMarkerType(coder.decodeInt32(kMarkerTypeKey));
    setTitle(coder.decodeString(kTitleKey));
    setComment(coder.decodeString(kCommentKey));
    const auto url = coder.decodeURL(kURLKey);
    setURL(url ? std::make_shared<const platform::URL>(*url) : nullptr);
    setMarkerUnit(coder.decodeInt32(kMarkerUnitKey));
    setPosition(coder.decodeDouble(kPositionKey));
}

TimelineMarker::~TimelineMarker() {
    if (m_markerRef) m_markerRef->removeObjectiveCWrapper(*this);
}

std::optional<std::string> TimelineMarker::title() const {
    return textOf(m_markerRef->getTitle());
}

void TimelineMarker::setTitle(const std::optional<std::string>& title) {
    m_markerRef->setTitle(stringOf(title));
}

std::optional<std::string> TimelineMarker::comment() const {
    return textOf(m_markerRef->getComment());
}

void TimelineMarker::setComment(const std::optional<std::string>& comment) {
    m_markerRef->setComment(stringOf(comment));
}

std::string TimelineMarker::description() const {
    const bool isInSeconds = markerUnit() == CTimelineMarker::kSeconds;
    return std::string("type=") + (isInSeconds ? "Seconds" : "Beats") +
           " position=" + withTwoDecimals(position());
}

void TimelineMarker::encodeWithCoder(platform::KeyedArchiver& coder) const {
    coder.encodeInt32(markerType(), kMarkerTypeKey);
    coder.encodeObject(title(), kTitleKey);
    coder.encodeObject(comment(), kCommentKey);
    const platform::URLRef url = URL();
    coder.encodeObject(url ? std::optional(*url) : std::nullopt, kURLKey);
    coder.encodeInt32(markerUnit(), kMarkerUnitKey);
    coder.encodeDouble(position(), kPositionKey);
}

}  // namespace marl
