// SPDX-License-Identifier: MIT
/// \file
/// What a terminal shows of the bytes that a program writes to it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// Understands what the browser writes: text, moves of the cursor, bold, colours and reversed cells, and the
/// other screen. Every character takes one cell. A sequence that it does not know throws.
class TerminalScreen {
public:
    TerminalScreen(std::size_t rows, std::size_t columns) { resize(rows, columns); }

    /// Clears it, too.
    void resize(std::size_t rows, std::size_t columns);
    void feed(std::string_view bytes);

    std::size_t rows() const noexcept { return m_cells.size(); }
    /// Without the spaces at its end.
    std::string row(std::size_t index) const;
    bool isReversed(std::size_t row) const { return m_cells.at(row).at(0).isReversed; }
    /// All rows, for messages.
    std::string text() const;

    bool isOtherScreen() const noexcept { return m_isOtherScreen; }
    bool isCursorShown() const noexcept { return m_isCursorShown; }
    /// Whether lines that are too long go on in the next row, which is not imitated.
    bool hasWrap() const noexcept { return m_hasWrap; }
    bool hasShownColour() const noexcept { return m_hasShownColour; }

private:
    struct Cell {
        std::string character = " ";
        bool isReversed = false;
    };

    bool takeSequence();
    void takeCharacter();
    void obey(std::string_view parameters, char command);

    std::vector<std::vector<Cell>> m_cells;
    std::string m_rest;  // has not been understood yet
    std::size_t m_row = 0, m_column = 0;
    bool m_isReversed = false;
    bool m_isOtherScreen = false;
    bool m_isCursorShown = true;
    bool m_hasWrap = true;
    bool m_hasShownColour = false;
};

}  // namespace support
