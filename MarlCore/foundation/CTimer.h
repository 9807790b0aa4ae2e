// SPDX-License-Identifier: MIT
/// \file
/// A stopwatch.
#pragma once

#include <MarlCore/platform/Export.h>

namespace halyard {

/// Adds up the time between `start` and `stop`, on the steady clock. [one thread at a time]
class MARLCORE_EXPORT CTimer {
public:
    /// Goes on from the time shown; does nothing while running.
    void start() noexcept;
    void stop() noexcept;

    /// Shows zero; a running timer runs on from there.
    void reset() noexcept;

    bool ticking() const noexcept { return m_ticking; }

    /// The time shown, the stretch under way included.
    double seconds() const noexcept;
    double milliseconds() const noexcept { return seconds() * 1e3; }
    double microseconds() const noexcept { return seconds() * 1e6; }

private:
    bool m_ticking = false;
    double m_startedAt = 0;    // seconds on the steady clock, while ticking
    double m_accumulated = 0;  // seconds of the stretches that have ended
};

}  // namespace halyard
