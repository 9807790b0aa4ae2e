// SPDX-License-Identifier: MIT
// The pool's side of CDiskFileData: who gets which buffer.
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/platform/AbsoluteTime.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <mutex>
#include <span>

namespace marl {

using halyard::CAutoMutex;
using halyard::CMutex;
using halyard::CParamException;
using halyard::kParameterError;
using platform::AbsoluteTimeGetCurrent;

std::vector<CBufferPoolEntryRef> CDiskFileData::g_bufferPoolEntryArray;
std::shared_ptr<CBufferPoolEntry::Rank[]> CDiskFileData::g_bufferPoolRanks;
halyard::CMutexRef CDiskFileData::g_bufferPoolMutex;

namespace {

/// False once the process ends and the pool goes: slices of objects that outlive it have nothing to give
/// back.
std::atomic<bool> poolIsThere{true};

struct EndOfPool {
    ~EndOfPool() { poolIsThere = false; }
};
const EndOfPool endOfPool;  // goes before what was made above it

using Rank = CBufferPoolEntry::Rank;

/// Without a branch, in a few cycles.
std::int64_t lowestOf(std::span<const Rank, 8> ranks) noexcept {
    std::int64_t lowest = std::numeric_limits<std::int64_t>::max();
    for (const auto& rank : ranks) lowest = std::min(lowest, rank.load(std::memory_order_relaxed));
    return lowest;
}

}  // namespace

void CDiskFileData::AllocateBufferPool(int count) {
    static std::mutex creation;  // two threads may open the first two files
    const std::lock_guard<std::mutex> lock(creation);
    if (g_bufferPoolMutex) return;
    const auto size = static_cast<std::size_t>(std::max(count, 0));
    const std::shared_ptr<Rank[]> ranks = std::make_unique<Rank[]>(size);
    std::vector<CBufferPoolEntryRef> entries;
    for (std::size_t i = 0; i < size; ++i)
        entries.emplace_back(new CBufferPoolEntry(std::shared_ptr<Rank>(ranks, ranks.get() + i)));
    g_bufferPoolRanks = ranks;
    g_bufferPoolEntryArray = std::move(entries);
    g_bufferPoolMutex = new CMutex;
}

CBufferPoolEntryRef CDiskFileData::assignBufferRef(CPartialFileData* slice) {
    const CBufferPoolEntryRef entry = beginWritingFor(slice);
    entry->endWriting();
    return entry;
}

/// The entry for `slice`, kept from everybody else: nobody reads the buffer while it is filled, and it is not
/// the oldest one for another loader, although its time still is.
CBufferPoolEntryRef CDiskFileData::beginWritingFor(CPartialFileData* slice) {
    const double now = AbsoluteTimeGetCurrent();
    const CAutoMutex lock(*g_bufferPoolMutex);
    CBufferPoolEntry* entry = beginWritingOldest(now);
    // While this thread waited for its turn, the others may have used every buffer.
    if (!entry) entry = beginWritingOldest(AbsoluteTimeGetCurrent());
    if (!entry)
        throw CParamException(kParameterError,
                              "CDiskFileData::assignBufferRef could not determine oldest buffer to purge "
                              "(all buffers newer than now?)");
    if (CPartialFileData* const owner = entry->getOwningFileData()) owner->purgeProc(entry);
    entry->assignPartialFileData(slice);
    return entry;
}

/// The first free entry, or else the one with the smallest time before `now`; null when there is none.
CBufferPoolEntry* CDiskFileData::beginWritingOldest(double now) {
    for (;;) {
        CBufferPoolEntry* const oldest = findOldest(CBufferPoolEntry::rankOf(now));
        // A reader can have begun in the meantime: then the next best one will do.
        if (!oldest || oldest->tryBeginWriting()) return oldest;
    }
}

/// The first of the idle entries with the smallest rank below `limit`.
CBufferPoolEntry* CDiskFileData::findOldest(std::int64_t limit) {
    constexpr std::size_t kBlock = 8;  // passed over together where none is smaller
    const std::span ranks(g_bufferPoolRanks.get(), g_bufferPoolEntryArray.size());
    CBufferPoolEntry* oldest = nullptr;
    for (std::size_t start = 0; start < ranks.size(); start += kBlock) {
        const auto block = ranks.subspan(start, std::min(kBlock, ranks.size() - start));
        if (block.size() == kBlock && lowestOf(block.first<kBlock>()) >= limit) continue;
        for (std::size_t i = 0; i < block.size(); ++i) {
            const std::int64_t rank = block[i].load(std::memory_order_relaxed);
            CBufferPoolEntry& entry = *g_bufferPoolEntryArray[start + i];
            if (rank >= limit || entry.isInUse()) continue;
            oldest = &entry;
            if (rank == CBufferPoolEntry::kRankOfFree) return oldest;
            limit = rank;
        }
    }
    return oldest;
}

void CDiskFileData::releaseBufferRef(CPartialFileData* slice) {
    if (!poolIsThere) return slice->setSampleBufferRef(nullptr);
    const CAutoMutex lock(*g_bufferPoolMutex);
    const CBufferPoolEntryRef entry = slice->getBufferPoolRef();
    if (!entry) return;  // taken away before the lock was had
    if (entry->getOwningFileData() == slice) entry->assignPartialFileData(nullptr);
    slice->setSampleBufferRef(nullptr);
}

}  // namespace marl
