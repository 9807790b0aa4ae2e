// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CTimer.h>

#include <MarlCore/platform/AbsoluteTime.h>

namespace halyard {

void CTimer::start() noexcept {
    if (m_ticking) return;
    m_startedAt = platform::AbsoluteTimeGetCurrent();
    m_ticking = true;
}

void CTimer::stop() noexcept {
    m_accumulated = seconds();
    m_ticking = false;
}

void CTimer::reset() noexcept {
    m_accumulated = 0;
    m_startedAt = platform::AbsoluteTimeGetCurrent();
}

double CTimer::seconds() const noexcept {
    return m_ticking ? m_accumulated + (platform::AbsoluteTimeGetCurrent() - m_startedAt) : m_accumulated;
}

}  // namespace halyard
