// SPDX-License-Identifier: MIT
/// \file
/// A stopwatch for hosts.
#pragma once

#include <MarlCore/foundation/CTimer.h>
#include <MarlCore/platform/Export.h>

namespace marl {

/// Measures elapsed time as `halyard::CTimer` does, on a clock that nobody sets. [one thread at a time]
class MARLCORE_EXPORT Stopwatch {
public:
    /// A new one: at zero, and not running.
    static Stopwatch stopwatch() noexcept { return {}; }

    /// Goes on from the time shown; does nothing while running.
    void start() noexcept { m_timer.start(); }
    void stop() noexcept { m_timer.stop(); }
    /// Shows zero; a running one runs on from there.
    void reset() noexcept { m_timer.reset(); }

    /// Whether it is running.
    bool ticking() const noexcept { return m_timer.ticking(); }

    double microseconds() const noexcept { return m_timer.microseconds(); }
    double milliseconds() const noexcept { return m_timer.milliseconds(); }
    double seconds() const noexcept { return m_timer.seconds(); }

private:
    halyard::CTimer m_timer;
};

}  // namespace marl
