// SPDX-License-Identifier: MIT
// How the sample tables, fragments and edits of a track become a SoundMap.
#include <MarlCore/Files/parsing/SoundMap.h>

#include <MarlCore/foundation/CException.h>
#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <cmath>

namespace marl::movie {

using halyard::CParamException;
using halyard::kParameterError;
using platform::loadBig32;
using platform::loadBig64;

namespace {

/// A table of `track` that it cannot do without.
Atom requireTable(IFileData& file, const Track& track, Code type) {
    const auto table = findAtom(file, track.sampleTables, type);
    if (!table)
        throw CParamException(kParameterError, "couldn't find the table '%s' of the sound track",
                              textOf(type).c_str());
    return *table;
}

/// How many of the samples in a sample table's sense there are, and how many frames each of them has. Movies
/// call each frame a sample, whatever size they state for it; others make samples of many frames.
class SampleSizes {
public:
    SampleSizes(IFileData& file, const Atom& table, int bytesPerFrame)
        : m_sizes(file, table, 12, 4), m_bytesPerFrame(static_cast<std::uint32_t>(bytesPerFrame)) {
        const Fields head(file, table, 12);
        m_constantSize = head.u32(4);
        m_left = m_constantSize != 0 ? head.u32(8) : m_sizes.left();
    }

    /// The frames of the next `samples` samples; takes them out.
    long long takeFrames(std::uint64_t samples) {
        samples = std::min(samples, m_left);
        m_left -= samples;
        if (m_constantSize == 0) return takeListed(samples);
        const std::uint64_t frames = std::max<std::uint64_t>(m_constantSize / m_bytesPerFrame, 1);
        constexpr std::uint64_t kMost = kMostFrames;
        return static_cast<long long>(samples > kMost / frames ? kMost : samples * frames);
    }

    bool isEmpty() const noexcept { return m_left == 0; }

private:
    long long takeListed(std::uint64_t samples) {
        std::uint64_t bytes = 0;
        for (; samples > 0; --samples) bytes += loadBig32(m_sizes.next());
        return static_cast<long long>(std::min<std::uint64_t>(bytes / m_bytesPerFrame, kMostFrames));
    }

    TableReader m_sizes;
    std::uint32_t m_bytesPerFrame;
    std::uint32_t m_constantSize;  // bytes; 0: each has a size of its own
    std::uint64_t m_left;
};

/// How many samples each chunk has: a table of runs of equal chunks.
class ChunkRuns {
public:
    ChunkRuns(IFileData& file, const Atom& table) : m_table(file, table, 8, 12) { readNext(); }

    /// Of chunk `chunk`, from 1 on; asked in order.
    std::uint32_t samplesOf(std::uint64_t chunk) {
        while (m_nextFirst <= chunk) {
            if (m_nextDescription > 1)
                throw CParamException(kParameterError,
                                      "the sound changes its format at chunk %u, which is not supported",
                                      static_cast<unsigned>(m_nextFirst));
            m_samples = m_nextSamples;
            readNext();
        }
        return m_samples;
    }

private:
    void readNext() {
        m_nextFirst = UINT64_MAX;
        if (m_table.left() == 0) return;
        const std::byte* const entry = m_table.next();
        m_nextFirst = loadBig32(entry);
        m_nextSamples = loadBig32(entry + 4);
        m_nextDescription = loadBig32(entry + 8);
    }

    TableReader m_table;
    std::uint32_t m_samples = 0;
    std::uint64_t m_nextFirst = 0;
    std::uint32_t m_nextSamples = 0;
    std::uint32_t m_nextDescription = 0;
};

/// `offset`, or silence when that is no place in the file.
long long placeInFile(std::uint64_t offset, IFileData& file) {
    const auto length = static_cast<std::uint64_t>(file.getFileLength());
    return offset < length ? static_cast<long long>(offset) : Stretch::kSilence;
}

void addChunks(IFileData& file, const Track& track, int bytesPerFrame, SoundMap& map) {
    SampleSizes sizes(file, requireTable(file, track, fourCharCode("stsz")), bytesPerFrame);
    ChunkRuns runs(file, requireTable(file, track, fourCharCode("stsc")));
    const auto longOffsets = findAtom(file, track.sampleTables, fourCharCode("co64"));
    TableReader offsets(file, longOffsets ? *longOffsets : requireTable(file, track, fourCharCode("stco")), 8,
                        longOffsets ? 8 : 4);
    for (std::uint64_t chunk = 1; offsets.left() > 0 && !sizes.isEmpty(); ++chunk) {
        const std::byte* const entry = offsets.next();
        const std::uint64_t offset = longOffsets ? loadBig64(entry) : loadBig32(entry);
        map.appendMedia(sizes.takeFrames(runs.samplesOf(chunk)), placeInFile(offset, file), bytesPerFrame);
    }
}

/// Samples of a fragment: those of one track, in runs that lie together.
class FragmentReader {
public:
    FragmentReader(IFileData& file, const Atom& fragment, const Track& track, std::uint32_t defaultSize)
        : m_file(file), m_trackID(track.id), m_fragmentStart(fragment.header), m_movieSize(defaultSize) {}

    void addTrackFragment(const Atom& atom, int bytesPerFrame, SoundMap& map) {
        const auto header = findAtom(m_file, atom, fourCharCode("tfhd"));
        if (!header) return;
        const bool isOurs = readHeader(Fields(m_file, *header, 40));
        AtomReader atoms(m_file, atom);
        while (const auto run = atoms.next()) {
            if (run->type == fourCharCode("trun")) addRun(*run, isOurs, bytesPerFrame, map);
        }
    }

private:
    static constexpr std::uint32_t kHasBaseOffset = 1, kHasDescription = 2, kHasDuration = 8, kHasSize = 16,
                                   kBaseIsFragment = 0x20000;
    static constexpr std::uint32_t kRunHasOffset = 1, kRunHasFirstFlags = 4, kSampleHasDuration = 0x100,
                                   kSampleHasSize = 0x200, kSampleHasFlags = 0x400, kSampleHasTime = 0x800;

    /// False for the fragment of another track.
    bool readHeader(const Fields& header) {
        const std::uint32_t flags = header.u32(0);
        std::size_t at = 8;
        // Where no base is stated, the data follows that of the track fragment before.
        if (flags & kHasBaseOffset) {
            m_base = header.u64(at);
            at += 8;
        } else {
            m_base =
                flags & kBaseIsFragment || m_isFirst ? static_cast<std::uint64_t>(m_fragmentStart) : m_next;
        }
        m_isFirst = false;
        m_next = m_base;
        if (flags & kHasDescription) at += 4;
        if (flags & kHasDuration) at += 4;
        m_defaultSize = flags & kHasSize ? header.u32(at) : m_movieSize;
        return header.u32(4) == m_trackID;
    }

    void addRun(const Atom& run, bool isOurs, int bytesPerFrame, SoundMap& map) {
        const Fields head(m_file, run, 16);
        const std::uint32_t flags = head.u32(0);
        std::size_t at = 8;
        if (flags & kRunHasOffset) {
            m_next = m_base + static_cast<std::uint64_t>(static_cast<std::int32_t>(head.u32(at)));
            at += 4;
        }
        if (flags & kRunHasFirstFlags) at += 4;
        const std::uint64_t bytes = bytesOf(run, at, head.u32(4), flags);
        if (isOurs)
            map.appendMedia(static_cast<long long>(bytes / static_cast<std::uint64_t>(bytesPerFrame)),
                            placeInFile(m_next, m_file), bytesPerFrame);
        m_next += bytes;
    }

    std::uint64_t bytesOf(const Atom& run, std::size_t at, std::uint32_t count, std::uint32_t flags) {
        if (!(flags & kSampleHasSize))
            return std::min<std::uint64_t>(std::uint64_t{count} * m_defaultSize, kMostFrames);
        std::size_t entryBytes = 0;
        for (const std::uint32_t flag : {kSampleHasDuration, kSampleHasSize, kSampleHasFlags, kSampleHasTime})
            entryBytes += flags & flag ? 4 : 0;
        const std::size_t sizeAt = flags & kSampleHasDuration ? 4 : 0;
        TableReader table(m_file, run.start + static_cast<long long>(at), run.end, count, entryBytes);
        std::uint64_t bytes = 0;
        while (table.left() > 0) bytes += loadBig32(table.next() + sizeAt);
        return bytes;
    }

    IFileData& m_file;
    std::uint32_t m_trackID;
    long long m_fragmentStart;
    std::uint32_t m_movieSize;  // of a sample, where nothing says more
    std::uint32_t m_defaultSize = 0;
    bool m_isFirst = true;
    std::uint64_t m_base = 0;  // byte that the runs of a track fragment count from
    std::uint64_t m_next = 0;  // where the next run begins unless it says so
};

/// The size of a sample that the movie states for the fragments of `track`; 0 when it states none.
std::uint32_t defaultSampleSize(IFileData& file, const Movie& movie, const Track& track) {
    const auto extends = findAtom(file, movie.place, fourCharCode("mvex"));
    if (!extends) return 0;
    AtomReader atoms(file, *extends);
    while (const auto atom = atoms.next()) {
        if (atom->type != fourCharCode("trex")) continue;
        const Fields fields(file, *atom, 24);
        if (fields.u32(4) == track.id) return fields.u32(16);
    }
    return 0;
}

void addFragments(IFileData& file, const Movie& movie, const Track& track, int bytesPerFrame, SoundMap& map) {
    const std::uint32_t defaultSize = defaultSampleSize(file, movie, track);
    AtomReader fragments(file, 0, file.getFileLength());
    while (const auto fragment = fragments.next()) {
        if (fragment->type != fourCharCode("moof")) continue;
        FragmentReader reader(file, *fragment, track, defaultSize);
        AtomReader atoms(file, *fragment);
        while (const auto atom = atoms.next()) {
            if (atom->type == fourCharCode("traf")) reader.addTrackFragment(*atom, bytesPerFrame, map);
        }
    }
}

void requireUsable(const Edit& edit) {
    if (edit.mediaTime < Edit::kEmpty)
        throw CParamException(kParameterError, "the edit list has a negative time (%lld)",
                              static_cast<long long>(edit.mediaTime));
    if (edit.mediaTime != Edit::kEmpty && edit.rate != Edit::kNaturalRate)
        throw CParamException(kParameterError,
                              "an edit plays the sound %g times as fast, which is not supported",
                              static_cast<std::int32_t>(edit.rate) / 65536.0);
}

/// Lengths of edits are counted in the units of the movie, which are coarser than frames. So each begins at
/// the frame nearest to the sum of those before it, and the last one is taken to mean the end of the media
/// when it comes within a unit of that.
void addEdits(const std::vector<Edit>& edits, const Movie& movie, const Track& track, double sampleRate,
              SoundMap& map) {
    const double movieScale = movie.timeScale, mediaScale = track.mediaTimeScale;
    if (edits.empty() || movie.timeScale == 0 || track.mediaTimeScale == 0)
        return map.appendEdit(map.mediaFrames(), 0);
    const auto unit = static_cast<long long>(std::ceil(std::min(sampleRate / movieScale, 1e9)));
    double movieTime = 0;
    for (const Edit& edit : edits) {
        requireUsable(edit);
        movieTime += static_cast<double>(edit.duration);
        long long frames = rescaled(movieTime, movieScale, sampleRate) - map.frames();
        if (edit.mediaTime == Edit::kEmpty) {
            map.appendEdit(frames, Stretch::kSilence);
            continue;
        }
        const long long first = rescaled(static_cast<double>(edit.mediaTime), mediaScale, sampleRate);
        const long long rest = std::max(map.mediaFrames() - first, 0LL);
        const bool isLast = &edit == &edits.back();
        if (isLast && (edit.duration == 0 || std::abs(rest - frames) <= unit)) frames = rest;
        map.appendEdit(frames, first);
    }
}

const Track& soundTrack(const Movie& movie) {
    const Track* first = nullptr;
    for (const Track& track : movie.tracks) {
        if (track.handler != kSoundHandler) continue;
        if (track.isEnabled) return track;
        if (!first) first = &track;
    }
    if (!first) throw CParamException(kParameterError, "the movie has no sound track");
    return *first;
}

/// The samples of a track may lie in a file of their own.
void requireOwnData(IFileData& file, const Track& track, unsigned reference) {
    if (!track.dataReferences) return;
    AtomReader references(file, *track.dataReferences, 8);
    std::optional<Atom> entry;
    for (unsigned i = 0; i < reference; ++i) {
        entry = references.next();
        if (!entry) return;
    }
    const bool isOwn = !entry || Fields(file, *entry, 4).u32(0) & 1;
    if (!isOwn)
        throw CParamException(kParameterError, "the sound lies in another file, which is not supported");
}

}  // namespace

Sound readSound(IFileData& file, const Movie& movie) {
    const Track& track = soundTrack(movie);
    Sound sound;
    sound.description = readSoundDescription(file, track);
    requireOwnData(file, track, sound.description.dataReference);
    const int bytesPerFrame = sound.description.bytesPerFrame();
    addChunks(file, track, bytesPerFrame, sound.map);
    if (movie.isFragmented) addFragments(file, movie, track, bytesPerFrame, sound.map);
    addEdits(readEdits(file, track), movie, track, sound.description.sampleRate, sound.map);
    return sound;
}

}  // namespace marl::movie
