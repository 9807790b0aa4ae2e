// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/Movie.h>

#include <MarlCore/foundation/CException.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace marl::movie {

using halyard::CParamException;
using halyard::kParameterError;

namespace {

constexpr std::size_t kMostTracks = 1024;
constexpr std::uint64_t kMostEdits = 65536;

constexpr double kFixedOne = 65536;  // of a fixed-point number of 16 and 16 bits

/// Atoms that a movie file may begin with.
constexpr std::array kFirstAtoms{fourCharCode("ftyp"), fourCharCode("moov"), fourCharCode("mdat"),
                                 fourCharCode("wide"), fourCharCode("free"), fourCharCode("skip"),
                                 fourCharCode("pnot"), fourCharCode("uuid"), fourCharCode("moof")};

[[noreturn]] void throwNoMovie(IFileData& file) {
    const long long length = file.getFileLength();
    if (length == 0) throw CParamException(kParameterError, "not a QuickTime file: it is empty");
    const Fields start(file, {0, 0, 0, length}, 12);
    if (start.u32(0) == fourCharCode("RIFF") || start.u32(0) == fourCharCode("FORM"))
        throw CParamException(kParameterError, "not a QuickTime file: at byte 0 begins a %s file",
                              start.u32(0) == fourCharCode("RIFF") ? "WAV" : "AIFF");
    if (std::ranges::find(kFirstAtoms, start.u32(4)) == kFirstAtoms.end())
        throw CParamException(kParameterError, "not a QuickTime file: there is no atom at byte 0");
    throw CParamException(kParameterError,
                          "couldn't find the movie atom ('moov') in the %lld bytes of the file", length);
}

/// Which the headers of movie and media have at the same place.
std::uint32_t timeScaleIn(const Fields& header) {
    return header.u32(header.version() == 1 ? 20 : 12);
}

/// Of 32 bits at `shortAt` or of 64 bits at `longAt`; 0 where all bits are set, which means that nobody knew.
std::uint64_t durationIn(const Fields& header, std::size_t shortAt, std::size_t longAt) {
    const bool isLong = header.version() == 1;
    const std::uint64_t unknown = isLong ? UINT64_MAX : UINT32_MAX;
    const std::uint64_t duration = isLong ? header.u64(longAt) : header.u32(shortAt);
    return duration == unknown ? 0 : duration;
}

void readTrackHeader(IFileData& file, const Atom& atom, Track& track) {
    const Fields header(file, atom, 96);
    const bool isLong = header.version() == 1;
    track.isEnabled = header.u32(0) & 1;
    track.id = header.u32(isLong ? 20 : 12);
    track.duration = durationIn(header, 20, 28);
    const std::size_t sizeAt = isLong ? 88 : 76;
    track.width = header.u32(sizeAt) / kFixedOne;
    track.height = header.u32(sizeAt + 4) / kFixedOne;
}

void readMedia(IFileData& file, const Atom& atom, Track& track) {
    if (const auto header = findAtom(file, atom, fourCharCode("mdhd")))
        track.mediaTimeScale = timeScaleIn(Fields(file, *header, 24));
    if (const auto handler = findAtom(file, atom, fourCharCode("hdlr")))
        track.handler = Fields(file, *handler, 12).u32(8);
    const auto information = findAtom(file, atom, fourCharCode("minf"));
    const auto data = findAtom(file, information, fourCharCode("dinf"));
    track.dataReferences = findAtom(file, data, fourCharCode("dref"));
    track.sampleTables = findAtom(file, information, fourCharCode("stbl"));
}

Track readTrack(IFileData& file, const Atom& atom) {
    Track track;
    if (const auto header = findAtom(file, atom, fourCharCode("tkhd"))) readTrackHeader(file, *header, track);
    track.edits = findAtom(file, findAtom(file, atom, fourCharCode("edts")), fourCharCode("elst"));
    if (const auto media = findAtom(file, atom, fourCharCode("mdia"))) readMedia(file, *media, track);
    return track;
}

void readHeader(IFileData& file, Movie& movie) {
    AtomReader atoms(file, movie.place);
    while (const auto atom = atoms.next()) {
        if (atom->type == fourCharCode("cmov"))
            throw CParamException(kParameterError,
                                  "the movie's header is compressed ('cmov'), which is not supported");
        if (atom->type == fourCharCode("mvhd")) {
            const Fields header(file, *atom, 32);
            movie.timeScale = timeScaleIn(header);
            movie.duration = durationIn(header, 16, 24);
        }
        if (atom->type == fourCharCode("trak") && movie.tracks.size() < kMostTracks)
            movie.tracks.push_back(readTrack(file, *atom));
    }
}

Edit readEdit(const std::byte* entry, bool isLong) {
    using platform::loadBig32;
    using platform::loadBig64;
    if (isLong)
        return {loadBig64(entry), static_cast<std::int64_t>(loadBig64(entry + 8)), loadBig32(entry + 16)};
    return {loadBig32(entry), static_cast<std::int32_t>(loadBig32(entry + 4)), loadBig32(entry + 8)};
}

}  // namespace

Movie readMovie(IFileData& file) {
    Movie movie;
    bool found = false;
    AtomReader atoms(file, 0, file.getFileLength());
    while (const auto atom = atoms.next()) {
        if (atom->type == fourCharCode("moof")) movie.isFragmented = true;
        if (found || atom->type != fourCharCode("moov")) continue;
        found = true;
        movie.place = *atom;
    }
    if (!found) throwNoMovie(file);
    readHeader(file, movie);
    return movie;
}

std::vector<Edit> readEdits(IFileData& file, const Track& track) {
    std::vector<Edit> edits;
    if (!track.edits) return edits;
    const bool isLong = Fields(file, *track.edits, 4).version() == 1;
    TableReader table(file, *track.edits, 8, isLong ? 20 : 12);
    if (table.left() > kMostEdits)
        throw CParamException(kParameterError, "the edit list at byte %lld has more than %d entries",
                              track.edits->start, static_cast<int>(kMostEdits));
    while (table.left() > 0) edits.push_back(readEdit(table.next(), isLong));
    return edits;
}

long long rescaled(double value, double from, double to) noexcept {
    const double units = value * to / from;
    if (!(units > 0)) return 0;
    return std::llround(std::min(units, static_cast<double>(kMostFrames)));
}

}  // namespace marl::movie
