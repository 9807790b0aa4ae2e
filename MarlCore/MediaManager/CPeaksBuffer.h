// SPDX-License-Identifier: MIT
/// \file
/// Lists of waveform peaks.
#pragma once

#include <MarlCore/foundation/CBuffer.h>

#include <cstdint>
#include <span>

namespace marl {

/// The highest and the lowest sample of some frames, full scale being 1.0. Where no frame was, the maximum
/// lies below the minimum.
struct Peak {
    float maximum;
    float minimum;

    friend bool operator==(const Peak&, const Peak&) = default;
};
static_assert(sizeof(Peak) == 8, "bytes of peak buffers are packed entries");

/// A list of entries of one peak a lane, in native floats: maximum and minimum of the first lane, then those
/// of the next one. Not written before somebody does. [one thread at a time]
template <unsigned kLaneCount>
class CPeaksBufferOf : public halyard::CBuffer {
public:
    static constexpr unsigned kLanes = kLaneCount;

    /// `entries` entries. Throws `halyard::CException` when there is no memory for them.
    explicit CPeaksBufferOf(std::uint32_t entries)
        : CBuffer(std::uint64_t{entries} * kLanes * sizeof(Peak), false), m_entries(entries) {}

    std::uint32_t getEntryCount() const noexcept { return m_entries; }

    /// All peaks: that of entry k and lane l is element k * kLanes + l.
    std::span<Peak> peaks() noexcept {
        return {reinterpret_cast<Peak*>(getPtr()), std::size_t{m_entries} * kLanes};
    }
    std::span<const Peak> peaks() const noexcept {
        return {reinterpret_cast<const Peak*>(getPtr()), std::size_t{m_entries} * kLanes};
    }

private:
    std::uint32_t m_entries;
};

/// Entries of 8 bytes: maximum, minimum.
using CPeaksBuffer = CPeaksBufferOf<1>;
/// Entries of 16 bytes: left maximum, left minimum, right maximum, right minimum.
using CStereoPeaksBuffer = CPeaksBufferOf<2>;

using CPeaksBufferRef = halyard::CSharedObjectRef<CPeaksBuffer>;
using CStereoPeaksBufferRef = halyard::CSharedObjectRef<CStereoPeaksBuffer>;

}  // namespace marl
