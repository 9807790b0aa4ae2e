// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/MovieTimes.h>

#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <cmath>

namespace marl::movie {
namespace {

constexpr std::uint32_t kDropsFrames = 1;
constexpr std::uint32_t kMostFramesPerSecond = 255;

const Track* firstTrack(const Movie& movie, Code handler) {
    const auto track = std::ranges::find(movie.tracks, handler, &Track::handler);
    return track == movie.tracks.end() ? nullptr : &*track;
}

/// Where the first chunk of `track` lies; nothing when that is no place in the file.
std::optional<long long> firstChunk(IFileData& file, const Track& track) {
    const auto longTable = findAtom(file, track.sampleTables, fourCharCode("co64"));
    const auto table = longTable ? longTable : findAtom(file, track.sampleTables, fourCharCode("stco"));
    if (!table) return std::nullopt;
    TableReader offsets(file, *table, 8, longTable ? 8 : 4);
    if (offsets.left() == 0) return std::nullopt;
    const std::byte* const entry = offsets.next();
    const std::uint64_t offset = longTable ? platform::loadBig64(entry) : platform::loadBig32(entry);
    if (offset >= static_cast<std::uint64_t>(file.getFileLength())) return std::nullopt;
    return static_cast<long long>(offset);
}

/// A time code track has one sample: the number of the first frame.
std::optional<FrameTimes> readTimeCode(IFileData& file, const Track& track) {
    const auto table = findAtom(file, track.sampleTables, fourCharCode("stsd"));
    if (!table) return std::nullopt;
    const auto entry = AtomReader(file, *table, 8).next();
    if (!entry || entry->type != kTimeCodeHandler) return std::nullopt;
    const Fields fields(file, *entry, 26);  // behind size and type
    const std::uint32_t flags = fields.u32(12);
    FrameTimes times{fields.u32(16), fields.u32(20), fields.u16(24) >> 8, (flags & kDropsFrames) != 0, 0};
    if (times.timeScale == 0 || times.frameDuration == 0 || times.framesPerSecond == 0) return std::nullopt;
    if (const auto place = firstChunk(file, track))
        times.firstFrame = Fields(file, {0, *place, *place, file.getFileLength()}, 4).u32(0);
    return times;
}

std::optional<FrameTimes> readPictureTimes(IFileData& file, const Track& track) {
    const auto table = findAtom(file, track.sampleTables, fourCharCode("stts"));
    if (!table) return std::nullopt;
    TableReader entries(file, *table, 8, 8);
    if (entries.left() == 0 || track.mediaTimeScale == 0) return std::nullopt;
    const std::uint32_t duration = platform::loadBig32(entries.next() + 4);
    if (duration == 0) return std::nullopt;
    const double rate = std::round(static_cast<double>(track.mediaTimeScale) / duration);
    const double counted = std::clamp<double>(rate, 1, kMostFramesPerSecond);
    return FrameTimes{track.mediaTimeScale, duration, static_cast<int>(counted), false, 0};
}

}  // namespace

std::optional<FrameTimes> readFrameTimes(IFileData& file, const Movie& movie) {
    const Track* const timeCode = firstTrack(movie, kTimeCodeHandler);
    if (timeCode) {
        if (const auto times = readTimeCode(file, *timeCode)) return times;
    }
    const Track* const video = firstTrack(movie, kVideoHandler);
    return video ? readPictureTimes(file, *video) : std::nullopt;
}

}  // namespace marl::movie
