// SPDX-License-Identifier: MIT
/// \file
/// A timeline marker as user interfaces and documents see it.
#pragma once

#include <MarlCore/MediaManager/CTimelineMarker.h>
#include <MarlCore/platform/KeyedArchiver.h>

#include <optional>
#include <string>
#include <string_view>

namespace marl {

// Keys of an archived marker.

inline constexpr std::string_view kMarkerTypeKey = "marker type";
inline constexpr std::string_view kTitleKey = "title";
inline constexpr std::string_view kCommentKey = "comment";
inline constexpr std::string_view kURLKey = "url";
inline constexpr std::string_view kMarkerUnitKey = "marker unit";
inline constexpr std::string_view kPositionKey = "position";

/// Wraps a `CTimelineMarker`, shares its ownership and forwards to it: a call on a null marker is a null
/// reference (see `CSharedObject::LogNullRef`). Numbers of types and units beyond 0 to 255 keep their lowest
/// 8 bits.
///
/// Archives keep all but the display type, which comes back as 0. What an archive lacks, or has in another
/// type, is zero or nothing. [one thread at a time]
class MARLCORE_EXPORT TimelineMarker : public CObjectiveCWrappedObject::Wrapper {
public:
    static constexpr std::string_view kArchiveName = "TimelineMarker";

    /// A new marker. Throws `platform::Exception` "Invalid parameter not satisfying: ref" when there is no
    /// memory for it; so does the constructor from an archive.
    TimelineMarker();
    /// Becomes the wrapper of a marker that is there.
    explicit TimelineMarker(const CTimelineMarkerRef& markerRef);
    /// See `platform::KeyedUnarchiver::unarchiveObjectWithData`.
    explicit TimelineMarker(const platform::KeyedUnarchiver& coder);
    ~TimelineMarker() override;

    const CTimelineMarkerRef& markerRef() const noexcept { return m_markerRef; }

    /// In seconds or beats, by `markerUnit`.
    double position() const { return m_markerRef->getPosition(); }
    void setPosition(double position) { m_markerRef->setPosition(position); }
    int markerType() const { return m_markerRef->getMarkerType(); }
    void setMarkerType(int type) { m_markerRef->setMarkerType(static_cast<unsigned char>(type)); }
    int markerUnit() const { return m_markerRef->getMarkerUnit(); }
    void setMarkerUnit(int unit) { m_markerRef->setMarkerUnit(static_cast<unsigned char>(unit)); }
    int basicMarkerDisplayType() const { return m_markerRef->getBasicMarkerDisplayType(); }
    void setBasicMarkerDisplayType(int type) { m_markerRef->setBasicMarkerDisplayType(type); }
    std::optional<std::string> title() const;
    void setTitle(const std::optional<std::string>& title);
    std::optional<std::string> comment() const;
    void setComment(const std::optional<std::string>& comment);
    /// The very object that was set; null when there is none.
    platform::URLRef URL() const { return m_markerRef->getURL(); }
    void setURL(const platform::URLRef& url) { m_markerRef->setURL(url); }

    /// "type=Seconds position=2.50", or with "Beats". The word is the unit, not the type, on purpose.
    std::string description() const;

    void encodeWithCoder(platform::KeyedArchiver& coder) const;

private:
    CTimelineMarkerRef m_markerRef;
};

}  // namespace marl
