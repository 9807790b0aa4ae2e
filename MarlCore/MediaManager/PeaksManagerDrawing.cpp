// SPDX-License-Identifier: MIT
// Peaks into pixels. The rules for rows and lengths are those that sessions have always been drawn by: the
// fallback row, the pixel that every column has, and the right channel's fallback in the left one's half
// stay.
#include <MarlCore/MediaManager/PeaksManager.h>

#include <algorithm>
#include <array>

namespace marl {
namespace {

/// Without a fraction, and limited to what can be counted on with; NaN is the lower limit.
int truncated(double value) noexcept {
    constexpr double kLimit = 1e9;
    return value > -kLimit ? static_cast<int>(std::min(value, kLimit)) : static_cast<int>(-kLimit);
}

/// What is drawn of a column: rows, `end` exclusive.
struct Line {
    int first = 0, end = 0;
};

// Columns that are drawn together. The rows that all of them have are filled a row at a time: that takes a
// fraction of the stores of single pixels.
constexpr unsigned kColumnsAtOnce = 8;

/// The rows that are drawn on. Values of -1 to 1 take 2 * scale of them, four in all are left free.
class Rows {
public:
    Rows(float height, float scale, platform::BitmapImageRep& bitmap) noexcept
        : m_height(height),
          m_scale(scale),
          m_count(std::min(truncated(height), static_cast<int>(bitmap.pixelsHigh()))),
          m_pixelsPerRow(bitmap.bytesPerRow() / 4),
          m_pixels(bitmap.pixels().data()) {}

    float scale() const noexcept { return m_scale; }

    Line lineFrom(int row, float top, float bottom) const noexcept {
        // A column without a frame, whose top is below its bottom, has its pixel too.
        const int length = std::max(truncated((top - bottom) * m_scale) + 1, 1);
        if (row < 0 || static_cast<float>(row) >= m_height) row = std::max(static_cast<int>(m_scale), 0);
        return row < m_count ? Line{row, row + std::min(length, m_count - row)} : Line{};
    }

    /// Draws the lines of columns side by side, `column` being the first.
    void draw(unsigned column, std::span<const Line> lines, std::uint32_t color) const noexcept {
        const Line shared = sharedRows(lines);
        for (unsigned i = 0; i < lines.size(); ++i) {
            drawLine(column + i, {lines[i].first, std::min(lines[i].end, shared.first)}, color);
            drawLine(column + i, {std::max(lines[i].first, shared.end), lines[i].end}, color);
        }
        for (int row = shared.first; row < shared.end; ++row)
            std::fill_n(pixel(column, row), kColumnsAtOnce, color);
    }

private:
    /// Rows that all of `kColumnsAtOnce` lines have; where there are none, no rows behind all others.
    Line sharedRows(std::span<const Line> lines) const noexcept {
        Line shared{0, lines.size() == kColumnsAtOnce ? m_count : 0};
        for (const Line& line : lines)
            shared = {std::max(shared.first, line.first), std::min(shared.end, line.end)};
        return shared.first < shared.end ? shared : Line{m_count, m_count};
    }

    void drawLine(unsigned column, Line line, std::uint32_t color) const noexcept {
        if (line.first < line.end)
            DrawVerticalLine(pixel(column, line.first), static_cast<unsigned>(line.end - line.first),
                             m_pixelsPerRow, color);
    }

    std::uint32_t* pixel(unsigned column, int row) const noexcept {
        return m_pixels + static_cast<std::size_t>(row) * m_pixelsPerRow + column;
    }

    float m_height, m_scale;
    int m_count;
    unsigned m_pixelsPerRow;
    std::uint32_t* m_pixels;
};

/// One lane of peaks from the left to the right. Each column reaches as far as the one before, so that the
/// trace has no gaps. `rowOf` has the row of a column's lowest value.
template <typename RowOf>
void drawLane(const Rows& rows, std::span<const Peak> peaks, std::size_t lanes, unsigned columns,
              std::uint32_t color, RowOf rowOf) {
    std::array<Line, kColumnsAtOnce> lines;
    float previousTop = 0, previousBottom = 0;
    for (unsigned column = 0; column < columns; ++column) {
        const Peak& peak = peaks[column * lanes];
        const float top = std::max(peak.maximum, previousBottom);
        const float bottom = std::min(peak.minimum, previousTop);
        lines[column % kColumnsAtOnce] = rows.lineFrom(rowOf(bottom), top, bottom);
        if (column % kColumnsAtOnce == kColumnsAtOnce - 1)
            rows.draw(column - (kColumnsAtOnce - 1), lines, color);
        previousTop = top;
        previousBottom = bottom;
    }
    const unsigned rest = columns % kColumnsAtOnce;
    rows.draw(columns - rest, std::span(lines).first(rest), color);
}

}  // namespace

void DrawVerticalLine(std::uint32_t* firstPixel, unsigned count, unsigned pixelsPerRow,
                      std::uint32_t color) noexcept {
    for (std::size_t row = 0; row < count; ++row) firstPixel[row * pixelsPerRow] = color;
}

/// While the table is built on the timer, no more than frames are built, counted as they stand.
unsigned PeaksManager::drawableColumns(platform::Size size, const platform::BitmapImageRep& bitmap,
                                       std::uint32_t entries) const noexcept {
    const auto columns = static_cast<unsigned>(std::max(truncated(size.width), 0));
    const unsigned there = std::min({columns, bitmap.pixelsWide(), entries});
    return m_timerData.m_buildingPeaksOnTimer ? std::min(there, m_timerData.m_builtPeakLength) : there;
}

void PeaksManager::drawMonoWaveform(const CPeaksBufferRef& peaks, platform::Size size,
                                    platform::BitmapImageRep& bitmap) const {
    if (!peaks) return;
    const Rows rows(size.height, (size.height - 4) * 0.5f, bitmap);
    const float scale = rows.scale();
    drawLane(rows, peaks->peaks(), 1, drawableColumns(size, bitmap, peaks->getEntryCount()),
             m_waveformColorAsLong,
             [=](float bottom) { return truncated(bottom * scale) + truncated(scale); });
}

void PeaksManager::drawStereoWaveform(const CStereoPeaksBufferRef& peaks, platform::Size size,
                                      platform::BitmapImageRep& bitmap) const {
    if (!peaks) return;
    const Rows rows(size.height, (size.height - 4) * 0.25f, bitmap);
    const float scale = rows.scale();
    const unsigned columns = drawableColumns(size, bitmap, peaks->getEntryCount());
    drawLane(rows, peaks->peaks(), 2, columns, m_waveformColorAsLong,
             [=](float bottom) { return truncated(bottom * scale) + truncated(scale); });
    if (columns == 0) return;
    const double firstRow = (size.height - 4.0) * 0.5;
    drawLane(rows, peaks->peaks().subspan(1), 2, columns, m_waveformColorAsLong,
             [=](float bottom) { return truncated(firstRow + bottom * scale + 1.0 + scale); });
}

}  // namespace marl
