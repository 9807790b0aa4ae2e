// SPDX-License-Identifier: MIT
/// \file
/// Proves that code may run on a playback thread: it neither allocates, nor locks, nor calls the system.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>

namespace support {

/// What an action asked for that can make a playback thread late. For programs that link AllocationMeter and
/// wrap the functions of pthread that PlaybackCosts.cpp names.
struct PlaybackCosts {
    std::size_t allocations = 0;  ///< and frees
    std::size_t locks = 0;        ///< tries, waits and wake-ups among them
    std::size_t systemCalls = 0;  ///< of which none is carried out
    int firstSystemCall = -1;     ///< its number; -1: there was none

    bool operator==(const PlaybackCosts&) const = default;
};

std::ostream& operator<<(std::ostream& out, const PlaybackCosts& costs);

/// Runs `action` in a copy of this process that holds only the calling thread, and counts. The action returns
/// whether it did what it was meant to; `std::runtime_error` when it did not, threw or crashed.
PlaybackCosts playbackCosts(const std::function<bool()>& action);

}  // namespace support
