// SPDX-License-Identifier: MIT
/// \file
/// The clock that access times and deadlines are taken from.
#pragma once

#include <MarlCore/platform/Export.h>

namespace platform {

/// Seconds on the steady clock, with at least microsecond resolution. Never goes back; its zero has no
/// meaning. [any thread]
MARLCORE_EXPORT double AbsoluteTimeGetCurrent() noexcept;

}  // namespace platform
