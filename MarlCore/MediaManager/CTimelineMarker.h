// SPDX-License-Identifier: MIT
/// \file
/// A named point on the timeline.
#pragma once

#include <MarlCore/MediaManager/CObjectiveCWrappedObject.h>
#include <MarlCore/foundation/CString.h>
#include <MarlCore/platform/URL.h>

#include <cstdint>

namespace marl {

using halyard::CStringRef;

/// Plain data; everything is zero or null at first. [one thread at a time]
class MARLCORE_EXPORT CTimelineMarker : public CObjectiveCWrappedObject {
public:
    /// The unit of positions in seconds; every other one stands for beats.
    static constexpr unsigned char kSeconds = 1;

    double getPosition() const noexcept { return m_position; }
    void setPosition(double position) noexcept { m_position = position; }
    /// What it means is the host's own.
    unsigned char getMarkerType() const noexcept { return m_markerType; }
    void setMarkerType(unsigned char type) noexcept { m_markerType = type; }
    unsigned char getMarkerUnit() const noexcept { return m_markerUnit; }
    void setMarkerUnit(unsigned char unit) noexcept { m_markerUnit = unit; }
    int getBasicMarkerDisplayType() const noexcept { return m_basicMarkerDisplayType; }
    void setBasicMarkerDisplayType(int type) noexcept { m_basicMarkerDisplayType = type; }
    const CStringRef& getTitle() const noexcept { return m_title; }
    void setTitle(const CStringRef& title) noexcept { m_title = title; }
    const CStringRef& getComment() const noexcept { return m_comment; }
    void setComment(const CStringRef& comment) noexcept { m_comment = comment; }
    const platform::URLRef& getURL() const noexcept { return m_url; }
    void setURL(const platform::URLRef& url) noexcept { m_url = url; }

private:
    std::uint8_t m_markerType = 0;
    std::uint8_t m_markerUnit = 0;
    std::int32_t m_basicMarkerDisplayType = 0;
    double m_position = 0;  // in the marker's unit
    CStringRef m_title;
    CStringRef m_comment;
    platform::URLRef m_url;
};

using CTimelineMarkerRef = halyard::CSharedObjectRef<CTimelineMarker>;

}  // namespace marl
