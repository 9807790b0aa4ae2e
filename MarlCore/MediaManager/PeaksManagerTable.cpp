// SPDX-License-Identifier: MIT
// The table of the whole source, and peaks for ranges of it.
#include <MarlCore/Common/MarlPreferences.h>
#include <MarlCore/MediaManager/PeaksManager.h>
#include <MarlCore/MediaManager/PeaksReaderImpl.h>

#include <algorithm>
#include <array>
#include <limits>

namespace marl {
namespace {

constexpr std::uint32_t kDefaultInterval = 256;

/// Which entries of a table have which frames: `entries` of them have `frames` frames, evenly.
struct TableScale {
    std::uint64_t entries, frames;

    std::uint64_t entryOf(std::uint64_t frame) const noexcept { return frame * entries / frames; }
};

/// The table entries of the columns of a picture. Each column ends where the next one begins, and the last
/// one holds the entry with the last frame: every entry of the range is in one column.
struct ColumnEntries {
    std::uint64_t from, to, columns;
    TableScale scale;

    std::uint64_t first(std::uint64_t column) const noexcept {
        return column < columns ? scale.entryOf(from + column * (to - from) / columns)
                                : scale.entryOf(to) + 1;
    }
};

/// Of each lane over `count` entries; (0, 0) where there is none.
template <unsigned kLanes>
std::array<Peak, kLanes> extremesOf(const Peak* entries, std::size_t count) {
    std::array<Peak, kLanes> extremes{};
    for (std::size_t entry = 0; entry < count; ++entry)
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const Peak& peak = entries[entry * kLanes + lane];
            extremes[lane].maximum = std::max(extremes[lane].maximum, peak.maximum);
            extremes[lane].minimum = std::min(extremes[lane].minimum, peak.minimum);
        }
    return extremes;
}

}  // namespace

std::uint32_t PeaksManager::peaksTableInterval() {
    const int interval = MarlPreferences::intForKey(MarlPeaksTableIntervalKey);
    return interval > 0 ? static_cast<std::uint32_t>(interval) : kDefaultInterval;
}

template <>
CPeaksBufferRef& PeaksManager::table() {
    return m_cpp.mono;
}

template <>
CStereoPeaksBufferRef& PeaksManager::table() {
    return m_cpp.stereo;
}

void PeaksManager::createPeakTable() {
    if (m_timerData.m_buildingPeaksOnTimer) return;  // for the length and interval that it began with
    const std::uint32_t length = lengthInFrames();
    m_savedInterval = peaksTableInterval();
    m_savedLengthInFrames = length;
    constexpr std::uint32_t kMostEntries = std::numeric_limits<int>::max();
    const int entries = static_cast<int>(std::min(length / m_savedInterval, kMostEntries));
    const std::uint32_t last = length > 0 ? length - 1 : 0;
    m_cpp = {};  // nothing stays of a file that had other channels
    if (channels() == 1)
        m_cpp.mono = peaksFromFile<CPeaksBuffer>(0, last, entries, false);
    else
        m_cpp.stereo = peaksFromFile<CStereoPeaksBuffer>(0, last, entries, false);
    m_peaksTableBuilt = true;
}

/// Makes sure that there is a table of the source as it is now, or that one is being built. A build that runs
/// for another length or interval starts over: it would fill a table that fits no more.
void PeaksManager::updateTable() {
    const bool isSame = lengthInFrames() == m_savedLengthInFrames && peaksTableInterval() == m_savedInterval;
    if (!isSame) {
        invalidatePeaksTable();
        if (m_timerData.m_buildingPeaksOnTimer) {
            stopPeriodicPeakBuilding();
            startPeriodicPeakBuilding();
        }
    }
    if (!m_peaksTableBuilt) createPeakTable();
}

CPeaksBufferRef PeaksManager::getPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                bool isPlaying) {
    return peaksOfRange<CPeaksBuffer>(from, to, size, isPlaying);
}

CStereoPeaksBufferRef PeaksManager::getStereoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                            bool isPlaying) {
    return peaksOfRange<CStereoPeaksBuffer>(from, to, size, isPlaying);
}

template <typename Buffer>
halyard::CSharedObjectRef<Buffer> PeaksManager::peaksOfRange(std::uint32_t from, std::uint32_t to, int size,
                                                             bool isPlaying) {
    updateTable();
    const halyard::CSharedObjectRef<Buffer> whole = table<Buffer>();
    if (!whole) return nullptr;
    const auto columns = static_cast<std::uint32_t>(std::max(size, 0));
    const bool isFinerThanTable = to < from || to - from <= std::uint64_t{m_savedInterval} * columns;
    if (isFinerThanTable) return peaksFromFile<Buffer>(from, to, size, isPlaying);
    return peaksFromTable(*whole, from, to, columns);
}

template <typename Buffer>
halyard::CSharedObjectRef<Buffer> PeaksManager::peaksFromTable(const Buffer& table, std::uint32_t from,
                                                               std::uint32_t to, std::uint32_t size) const {
    const bool isOnTimer = m_timerData.m_buildingPeaksOnTimer;
    const std::uint64_t there = isOnTimer ? m_timerData.m_peakTimerEntriesComplete : table.getEntryCount();
    // At once, the entries were spread as `peaks::FrameRange::between` spreads them over the whole source.
    const std::uint32_t wholeSpread = std::max(m_savedLengthInFrames, 2u) - 1;
    const TableScale scale =
        isOnTimer ? TableScale{1, m_savedInterval} : TableScale{table.getEntryCount(), wholeSpread};
    const ColumnEntries entries{from, to, size, scale};
    const halyard::CSharedObjectRef<Buffer> result(new Buffer(size));
    for (std::uint32_t column = 0; column < size; ++column) {
        const auto first = static_cast<std::size_t>(std::min(entries.first(column), there));
        const auto end = static_cast<std::size_t>(std::min(entries.first(column + 1), there));
        const auto peaks =
            extremesOf<Buffer::kLanes>(table.peaks().data() + first * Buffer::kLanes, end - first);
        std::ranges::copy(peaks, result->peaks().begin() + column * Buffer::kLanes);
    }
    return result;
}

template <typename Buffer>
halyard::CSharedObjectRef<Buffer> PeaksManager::peaksFromFile(std::uint32_t from, std::uint32_t to, int size,
                                                              bool isPlaying) {
    const halyard::CSharedObjectRef<Buffer> result(new Buffer(static_cast<std::uint32_t>(std::max(size, 0))));
    const IFileDataRef data = fileData();
    peaks::readPeaks(*data, peaks::FrameRange::between(from, to), !isPlaying, Buffer::kLanes,
                     result->peaks());
    return result;
}

CPeaksBufferRef PeaksManager::shortMonoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                      bool isPlaying) {
    return peaksFromFile<CPeaksBuffer>(from, to, size, isPlaying);
}

CStereoPeaksBufferRef PeaksManager::shortStereoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                              bool isPlaying) {
    return peaksFromFile<CStereoPeaksBuffer>(from, to, size, isPlaying);
}

CPeaksBufferRef PeaksManager::floatMonoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                      bool isPlaying) {
    return peaksFromFile<CPeaksBuffer>(from, to, size, isPlaying);
}

CStereoPeaksBufferRef PeaksManager::floatStereoPeaksFromFrame(std::uint32_t from, std::uint32_t to, int size,
                                                              bool isPlaying) {
    return peaksFromFile<CStereoPeaksBuffer>(from, to, size, isPlaying);
}

}  // namespace marl
