// SPDX-License-Identifier: MIT
/// \file
/// Where the frames of a movie's sound lie in its file.
#pragma once

#include <MarlCore/Files/parsing/SoundDescription.h>

namespace marl::movie {

/// Frames that lie in one row.
struct Stretch {
    long long frames = 0;  // at least 1
    long long offset = 0;  // of the first, in bytes from the start of the file; `kSilence`

    static constexpr long long kSilence = -1;
};

/// Leads from a frame of the sound, as it is heard, through the edits to a frame of the media, and through
/// the chunks to a byte of the file. Chunks that follow each other in the file are one extent, so that an
/// hour of plain recording takes no more memory than a second. [any thread once it is built]
class SoundMap {
public:
    /// The media, in order. `offset`: `Stretch::kSilence`, or a place in the file. Throws `CParamException`
    /// for media in more than 2^20 pieces.
    void appendMedia(long long frames, long long offset, int bytesPerFrame);
    /// The sound, in order. `mediaFrame`: where it begins in the media, or `Stretch::kSilence`.
    void appendEdit(long long frames, long long mediaFrame);

    long long mediaFrames() const noexcept { return m_mediaFrames; }
    /// At most `kMostFrames`.
    long long frames() const noexcept { return m_frames; }

    /// Frame `frame` and those behind it that lie in one row. `frame` is at least 0 and less than `frames`.
    Stretch at(long long frame) const noexcept;

    /// Byte offset of the first frame that the file holds, as far as 32 bits tell it: what a parser reports.
    /// 0 when there is none.
    std::uint32_t reportedOffset() const noexcept;

private:
    /// A piece that ends where the next one begins.
    struct Piece {
        long long first;   // frame
        long long target;  // what it leads to, or `kSilence`
    };

    static const Piece& pieceAt(const std::vector<Piece>& pieces, long long frame) noexcept;
    Stretch mediaAt(long long frame) const noexcept;

    std::vector<Piece> m_edits;    // to frames of the media
    std::vector<Piece> m_extents;  // of the media, to bytes of the file
    long long m_frames = 0;
    long long m_mediaFrames = 0;
    long long m_firstOffset = 0;
    int m_bytesPerFrame = 0;
};

/// The sound of a movie.
struct Sound {
    SoundDescription description;
    SoundMap map;
};

/// Reads what is to be known of the sound of `movie`, which is its first enabled sound track, or the first
/// one when none is enabled. Throws `CParamException` when there is none, when it is of a kind that is not
/// supported, and when it lies in another file.
Sound readSound(IFileData& file, const Movie& movie);

}  // namespace marl::movie
