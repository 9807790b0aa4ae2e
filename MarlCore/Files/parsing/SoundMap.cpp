// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/SoundMap.h>

#include <MarlCore/foundation/CException.h>

#include <algorithm>

namespace marl::movie {
namespace {

/// 16 MB of memory. Ten hours in chunks of half a second are 72000.
constexpr std::size_t kMostExtents = 1 << 20;

}  // namespace

void SoundMap::appendMedia(long long frames, long long offset, int bytesPerFrame) {
    m_bytesPerFrame = bytesPerFrame;
    frames = std::min(frames, kMostFrames - m_mediaFrames);
    if (frames <= 0) return;
    bool isNext = false;
    if (!m_extents.empty()) {
        const Piece& last = m_extents.back();
        const long long end = last.target + (m_mediaFrames - last.first) * bytesPerFrame;
        isNext = last.target == Stretch::kSilence || offset == Stretch::kSilence ? last.target == offset
                                                                                 : end == offset;
    }
    if (!isNext && m_extents.size() == kMostExtents)
        throw halyard::CParamException(halyard::kParameterError, "the sound lies in more than %d pieces",
                                       static_cast<int>(kMostExtents));
    if (!isNext) m_extents.push_back({m_mediaFrames, offset});
    m_mediaFrames += frames;
}

void SoundMap::appendEdit(long long frames, long long mediaFrame) {
    frames = std::min(frames, kMostFrames - m_frames);
    if (frames <= 0) return;
    m_edits.push_back({m_frames, mediaFrame});
    const long long begin = m_frames;
    m_frames += frames;
    if (m_firstOffset == 0) m_firstOffset = std::max(at(begin).offset, 0LL);
}

std::uint32_t SoundMap::reportedOffset() const noexcept {
    return static_cast<std::uint32_t>(std::min<long long>(m_firstOffset, UINT32_MAX));
}

const SoundMap::Piece& SoundMap::pieceAt(const std::vector<Piece>& pieces, long long frame) noexcept {
    return *(std::ranges::upper_bound(pieces, frame, {}, &Piece::first) - 1);
}

Stretch SoundMap::at(long long frame) const noexcept {
    const Piece& edit = pieceAt(m_edits, frame);
    const long long end = &edit == &m_edits.back() ? m_frames : (&edit + 1)->first;
    if (edit.target == Stretch::kSilence) return {end - frame, Stretch::kSilence};
    Stretch stretch = mediaAt(edit.target + frame - edit.first);
    stretch.frames = std::min(stretch.frames, end - frame);
    return stretch;
}

/// Behind the last of the media there is silence.
Stretch SoundMap::mediaAt(long long frame) const noexcept {
    if (frame >= m_mediaFrames) return {kMostFrames, Stretch::kSilence};
    const Piece& extent = pieceAt(m_extents, frame);
    const long long end = &extent == &m_extents.back() ? m_mediaFrames : (&extent + 1)->first;
    if (extent.target == Stretch::kSilence) return {end - frame, Stretch::kSilence};
    return {end - frame, extent.target + (frame - extent.first) * m_bytesPerFrame};
}

}  // namespace marl::movie
