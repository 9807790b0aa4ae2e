// SPDX-License-Identifier: MIT
/// \file
/// The report of intercepted timers.
#pragma once

#include <MarlCore/Utilities/TimerSetEntry.h>

#include <span>
#include <string>

namespace marl {

class MarlTimer;

/// Prints the report of `entries` to standard output in one piece, under the address of their `MarlTimer`.
/// Returns the summary, or an empty text without one. [any thread]
std::string printTimerReport(const MarlTimer* timer, std::span<const TimerSetEntry> entries,
                             bool withSummary);

}  // namespace marl
