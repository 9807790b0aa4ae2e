// SPDX-License-Identifier: MIT
#include "examples/TerminalScreen.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace support {

void TerminalScreen::resize(std::size_t rows, std::size_t columns) {
    m_cells.assign(rows, std::vector<Cell>(columns));
}

void TerminalScreen::feed(std::string_view bytes) {
    m_rest += bytes;
    while (!m_rest.empty()) {
        if (m_rest[0] == '\x1b') {
            if (!takeSequence()) return;
        } else {
            const auto first = static_cast<unsigned char>(m_rest[0]);
            if (m_rest.size() < (first < 0xC0 ? 1u : first < 0xE0 ? 2u : first < 0xF0 ? 3u : 4u)) return;
            takeCharacter();
        }
    }
}

/// False while it is not complete.
bool TerminalScreen::takeSequence() {
    const auto end = m_rest.find_first_of("ABCDHJKhlm", 2);
    if (end == std::string::npos) return false;
    if (m_rest[1] != '[') throw std::runtime_error("no CSI: " + m_rest);
    obey(std::string_view(m_rest).substr(2, end - 2), m_rest[end]);
    m_rest.erase(0, end + 1);
    return true;
}

void TerminalScreen::obey(std::string_view parameters, char command) {
    const std::string text = std::string(parameters) + command;
    if (command == 'H') {
        m_row = std::strtoul(text.c_str(), nullptr, 10) - 1;
        m_column = 0;
    } else if (command == 'J') {
        resize(m_cells.size(), m_cells.at(0).size());
    } else if (command == 'K') {
        if (m_row < m_cells.size() && m_column < m_cells[m_row].size())
            std::fill(m_cells[m_row].begin() + static_cast<std::ptrdiff_t>(m_column), m_cells[m_row].end(),
                      Cell());
    } else if (text == "0m") {
        m_isReversed = false;
    } else if (text == "7m") {
        m_isReversed = true;
    } else if (text == "?1049h" || text == "?1049l") {
        m_isOtherScreen = command == 'h';
    } else if (text == "?25h" || text == "?25l") {
        m_isCursorShown = command == 'h';
    } else if (text == "?7h" || text == "?7l") {
        m_hasWrap = command == 'h';
    } else if (command == 'm' && text.starts_with('3')) {
        m_hasShownColour = true;
    } else if (text != "1m") {
        throw std::runtime_error("unknown sequence " + text);
    }
}

void TerminalScreen::takeCharacter() {
    const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    const auto end = std::find_if_not(m_rest.begin() + 1, m_rest.end(), isContinuation);
    // What a program of the size before has written is still under way when a window becomes smaller.
    if (m_row < m_cells.size() && m_column < m_cells[m_row].size())
        m_cells[m_row][m_column] = {std::string(m_rest.begin(), end), m_isReversed};
    ++m_column;
    m_rest.erase(m_rest.begin(), end);
}

std::string TerminalScreen::row(std::size_t index) const {
    std::string text;
    for (const Cell& cell : m_cells.at(index)) text += cell.character;
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string TerminalScreen::text() const {
    std::string all;
    for (std::size_t i = 0; i < m_cells.size(); ++i) all += row(i) + '\n';
    return all;
}

}  // namespace support
