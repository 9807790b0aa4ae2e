// SPDX-License-Identifier: MIT
/// \file
/// One buffer of the pool that all streamed files share.
#pragma once

#include <MarlCore/foundation/CSharedObjectRef.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace marl {

class CPartialFileData;

/// 32768 bytes of converted samples, the slice that they belong to, and when they were used last. The pool
/// holds every entry for the life of the process, so the address of a buffer stays good; what lies there
/// changes hands.
///
/// Threads: all fields are atomic, the bytes are not. They are written by the one who has the entry for
/// writing, and read safely by those who have it for reading; both only ever *try*, nobody waits. Reading
/// without that is right as long as nobody takes the entry, which a full pool does to the one that was not
/// used for longest. [any thread]
class MARLCORE_EXPORT CBufferPoolEntry : public halyard::CSharedObject {
public:
    static constexpr std::size_t kBufferSize = 32768;  ///< bytes

    /// What the pool goes by when it looks for a buffer: the time of an entry that has an owner, and the
    /// lowest of all for a free one. The ranks of a pool lie side by side, and are integers, so that a search
    /// for the smallest takes little time.
    using Rank = std::atomic<std::int64_t>;
    static constexpr std::int64_t kRankOfFree = std::numeric_limits<std::int64_t>::min();
    /// Ranks have the order of their times: the bits of a number, which have it among themselves but for
    /// those of negative numbers.
    static constexpr std::int64_t rankOf(double seconds) noexcept {
        const auto bits = std::bit_cast<std::int64_t>(seconds);
        return bits >= 0 ? bits : bits ^ std::numeric_limits<std::int64_t>::max();
    }

    /// A free entry that was never used: its time is -1. The buffer is not written, and takes no memory from
    /// the system until it is. `rank` is kept by this entry alone.
    explicit CBufferPoolEntry(std::shared_ptr<Rank> rank = std::make_shared<Rank>());
    ~CBufferPoolEntry() override;

    std::byte* getBufferPtr() noexcept { return m_buffer.data(); }
    const std::byte* getBufferPtr() const noexcept { return m_buffer.data(); }

    /// Seconds on the clock of `platform::AbsoluteTimeGetCurrent`. [playback]
    double getLastAccessTime() const noexcept { return m_lastAccessTime.load(std::memory_order_relaxed); }
    void setLastAccessTime(double seconds) noexcept {
        m_lastAccessTime.store(seconds, std::memory_order_relaxed);
        if (getOwningFileData()) m_rank->store(rankOf(seconds), std::memory_order_relaxed);
    }

    /// The slice that uses the buffer, not owned; null: the entry is free.
    CPartialFileData* getOwningFileData() const noexcept { return m_owner.load(std::memory_order_acquire); }
    void assignPartialFileData(CPartialFileData* slice) noexcept {
        m_owner.store(slice, std::memory_order_release);
        m_rank->store(slice ? rankOf(getLastAccessTime()) : kRankOfFree, std::memory_order_relaxed);
    }

    /// Whether somebody reads or writes the buffer at this moment.
    bool isInUse() const noexcept { return m_users.load(std::memory_order_relaxed) != 0; }
    /// Keeps the pool from taking the entry away until `endReading`; false while it is written. Whose samples
    /// it holds is to be asked afterwards. [playback]
    bool tryBeginReading() noexcept;
    void endReading() noexcept { m_users.fetch_sub(1, std::memory_order_release); }
    /// Keeps everybody else out until `endWriting`; false while it is in use.
    bool tryBeginWriting() noexcept;
    void endWriting() noexcept { m_users.store(0, std::memory_order_release); }

private:
    static constexpr int kWriter = -1;

    std::atomic<double> m_lastAccessTime{-1.0};
    std::atomic<CPartialFileData*> m_owner{nullptr};
    std::atomic<int> m_users{0};  // how many read, or kWriter
    std::shared_ptr<Rank> m_rank;
    alignas(64) std::array<std::byte, kBufferSize> m_buffer;
};

using CBufferPoolEntryRef = halyard::CSharedObjectRef<CBufferPoolEntry>;

}  // namespace marl
