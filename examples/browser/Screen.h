// SPDX-License-Identifier: MIT
/// \file
/// The browser's window as lines of text.
#pragma once

#include "LoopList.h"
#include "Waveform.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace browser {

struct Size {
    std::size_t rows = 24, columns = 80;
};

/// What takes how many rows of a window, from its top down; together at most as many as it has.
struct Layout {
    explicit Layout(std::size_t rows) noexcept;

    std::size_t filter = 0, heading = 0, list = 0, details = 0;
    std::size_t waveform = 0;  ///< an even number
    std::size_t help = 0;
};

/// Below the list: the waveform of the chosen loop, or why there is none.
struct Preview {
    std::function<Levels(std::size_t columns)> levels;  ///< may be empty
    std::string problem;
};

/// The window: `size.rows` lines that fill `size.columns` cells each. In them, colours (unless `isColoured`
/// is false), bold and reversed text begin and end by SGR sequences. Scrolls the list to the chosen loop.
std::vector<std::string> drawScreen(LoopList& list, const Preview& preview, Size size, bool isColoured);

}  // namespace browser
