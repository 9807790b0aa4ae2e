// SPDX-License-Identifier: MIT
/// \file
/// How far a long work has come, on one line of a terminal.
#pragma once

#include <chrono>
#include <iosfwd>
#include <string>

namespace marl::tool {

/// A line that is written again and again, without colours, and wiped out at the end:
///
///     Drum Loops [##########..........] 512 of 1024
class ProgressBar {
public:
    /// Prints nothing at all unless `isShown`. `out` is a terminal, and outlives this object.
    ProgressBar(bool isShown, const std::string& title, std::ostream& out);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar();

    /// Prints at most ten times a second. A `total` of 0 is not known yet.
    void show(int done, int total);

private:
    using Clock = std::chrono::steady_clock;

    const bool m_isShown;
    const std::string m_title;
    std::ostream& m_out;
    Clock::time_point m_next{};
};

}  // namespace marl::tool
