// SPDX-License-Identifier: MIT
/// \file
/// The loops that the browser shows, those of them that match what was typed, and the chosen one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace browser {

struct Loop {
    std::string path;
    std::string name;        ///< the path without the folder that was indexed
    std::string key;         ///< "A minor"; empty: none
    std::string tempo;       ///< beats a minute; empty for a one-shot
    std::string meter;       ///< likewise
    std::string instrument;  ///< empty: none
    std::string words;       ///< further ones that it is found by
};

/// Numbers its *rows*, the loops that match, from 0. [one thread at a time]
class LoopList {
public:
    explicit LoopList(std::vector<Loop> loops);

    std::size_t total() const noexcept { return m_loops.size(); }
    /// Loops that match.
    std::size_t count() const noexcept { return m_rows.size(); }
    const Loop& at(std::size_t row) const { return m_loops[m_rows.at(row)]; }

    const std::string& filter() const noexcept { return m_filter; }
    /// From now on those loops match in which each word of `text` occurs, whatever the case of A to Z. The
    /// loop that was moved to last is the chosen one while it matches, and else the next one that does.
    void setFilter(const std::string& text);

    /// Null when nothing matches.
    const Loop* chosen() const noexcept;
    std::size_t chosenRow() const noexcept { return m_chosen; }
    /// Stops at the first and at the last row.
    void moveBy(std::ptrdiff_t rows) noexcept;

    /// The first row of a window of `height` >= 1 rows that shows the chosen one, scrolled no further than
    /// that takes.
    std::size_t scrolledTo(std::size_t height) noexcept;

private:
    bool matches(std::size_t loop, const std::vector<std::string>& words) const noexcept;

    std::vector<Loop> m_loops;
    std::vector<std::string> m_texts;  // of each loop, all that it is found by, in lower case
    std::vector<std::size_t> m_rows;   // the loops that match, in order
    std::string m_filter;
    std::size_t m_wanted = 0;  // the loop that was moved to last
    std::size_t m_chosen = 0;  // a row; 0 where there is none
    std::size_t m_top = 0;     // the first row of the window
};

}  // namespace browser
