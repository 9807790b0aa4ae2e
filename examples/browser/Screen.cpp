// SPDX-License-Identifier: MIT
#include "Screen.h"

#include "Cells.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string_view>

namespace browser {
namespace {

// SGR sequences.
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kReversed = "\x1b[7m";
constexpr std::string_view kCyan = "\x1b[36m";

constexpr int kEighths = 8;  // of a cell
constexpr std::string_view kBlocks[kEighths + 1] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};

constexpr std::size_t kRowsWithWaveform = 12;  // a lower window has no room for one
constexpr std::size_t kHighestWaveform = 10;   // rows

struct Column {
    std::string_view title;
    std::size_t width;  // cells
    std::string Loop::*text;
};

constexpr Column kColumns[] = {{"key", 9, &Loop::key},
                               {"bpm", 7, &Loop::tempo},
                               {"meter", 6, &Loop::meter},
                               {"instrument", 18, &Loop::instrument}};

constexpr std::size_t kLeastName = 24;  // cells that columns leave for the name of a loop

/// Those for which a window has room.
std::span<const Column> columnsIn(std::size_t cells) {
    std::size_t count = 0, used = kLeastName;
    while (count < std::size(kColumns) && used + kColumns[count].width <= cells)
        used += kColumns[count++].width;
    return std::span(kColumns).first(count);
}

/// What makes a whole line look so.
std::string styled(std::string_view style, const std::string& line) {
    return std::string(style) + line + std::string(kPlain);
}

/// Columns, then `last` to the end of the line.
template <typename CellOf>
std::string tableRow(CellOf cellOf, std::string_view last, std::size_t columns) {
    std::string row;
    for (const Column& column : columnsIn(columns)) row += fitted(cellOf(column), column.width - 1) + ' ';
    return fitted(row + std::string(last), columns);
}

std::string filterLine(const LoopList& list, std::size_t columns) {
    const std::string counts = std::to_string(list.count()) + " of " + std::to_string(list.total());
    const std::size_t room = columns > counts.size() ? columns - counts.size() : 0;
    return fitted(fittedEnd("> " + list.filter() + "▏", room) + counts, columns);
}

std::string_view fileName(std::string_view path) {
    return path.substr(path.rfind('/') + 1);  // all of it, where there is no folder
}

std::string listLine(const LoopList& list, std::size_t row, std::size_t columns) {
    if (row >= list.count()) return std::string(columns, ' ');
    const Loop& loop = list.at(row);
    const auto cellOf = [&](const Column& column) { return loop.*column.text; };
    const std::string line = tableRow(cellOf, fileName(loop.name), columns);
    return row == list.chosenRow() ? styled(kReversed, line) : line;
}

/// Eighths of row `row` that a bar covers, whose rows are counted from where it begins.
int eighthsInRow(float level, std::size_t rows, std::size_t row) {
    const auto eighths = static_cast<int>(std::lround(level * static_cast<float>(rows) * kEighths));
    return std::clamp(eighths - static_cast<int>(row) * kEighths, 0, kEighths);
}

/// Row `row` of the half of the waveform that `levels` are of, counted from the middle, `rows` in all. There
/// are no blocks that hang from above: they are those that stand below, reversed.
std::string waveformLine(std::span<const float> levels, std::size_t rows, std::size_t row, bool hangs,
                         std::string_view colour) {
    std::string line;
    for (const float level : levels) {
        const int eighths = eighthsInRow(level, rows, row);
        line += kBlocks[hangs ? kEighths - eighths : eighths];
    }
    return styled(hangs ? std::string(colour) + std::string(kReversed) : colour, line);
}

void addWaveform(std::vector<std::string>& lines, const Preview& preview, std::size_t rows,
                 std::size_t columns, std::string_view colour) {
    if (!preview.levels || rows == 0) {
        for (std::size_t i = 0; i < rows; ++i)
            lines.push_back(fitted(i == 0 ? preview.problem : "", columns));
        return;
    }
    const Levels levels = preview.levels(columns);
    const std::size_t half = rows / 2;
    for (std::size_t row = half; row-- > 0;)
        lines.push_back(waveformLine(levels.up, half, row, false, colour));
    for (std::size_t row = 0; row < half; ++row)
        lines.push_back(waveformLine(levels.down, half, row, true, colour));
}

}  // namespace

Layout::Layout(std::size_t rows) noexcept {
    std::size_t left = rows;
    const auto take = [&](std::size_t wanted) {
        const std::size_t taken = std::min(wanted, left);
        left -= taken;
        return taken;
    };
    filter = take(1);
    list = take(1);  // whatever else there is no room for
    heading = take(1);
    details = take(1);
    help = take(1);
    if (rows >= kRowsWithWaveform) waveform = take(std::min(rows / 3, kHighestWaveform) / 2 * 2);
    list += left;
}

std::vector<std::string> drawScreen(LoopList& list, const Preview& preview, Size size, bool isColoured) {
    const std::size_t columns = size.columns;
    const Layout layout(size.rows);
    std::vector<std::string> lines;
    if (layout.filter) lines.push_back(styled(kBold, filterLine(list, columns)));
    if (layout.heading)
        lines.push_back(tableRow([](const Column& column) { return column.title; }, "loop", columns));
    if (layout.list) {
        const std::size_t top = list.scrolledTo(layout.list);
        for (std::size_t i = 0; i < layout.list; ++i) lines.push_back(listLine(list, top + i, columns));
    }
    const Loop* const chosen = list.chosen();
    if (layout.details)
        lines.push_back(styled(kBold, fitted(chosen ? chosen->path : "nothing matches", columns)));
    addWaveform(lines, preview, layout.waveform, columns, isColoured ? kCyan : "");
    if (layout.help)
        lines.push_back(
            fitted("type to filter   ↑ ↓ PgUp PgDn Home End   Enter: print the path   Esc: clear, "
                   "quit",
                   columns));
    return lines;
}

}  // namespace browser
