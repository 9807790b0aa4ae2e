// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CBufferPoolEntry.h>

#include <utility>

namespace marl {

CBufferPoolEntry::CBufferPoolEntry(std::shared_ptr<Rank> rank) : m_rank(std::move(rank)) {
    m_rank->store(kRankOfFree, std::memory_order_relaxed);
}

CBufferPoolEntry::~CBufferPoolEntry() = default;

bool CBufferPoolEntry::tryBeginReading() noexcept {
    int users = m_users.load(std::memory_order_relaxed);
    while (users != kWriter) {
        if (m_users.compare_exchange_weak(users, users + 1, std::memory_order_acquire,
                                          std::memory_order_relaxed))
            return true;
    }
    return false;
}

bool CBufferPoolEntry::tryBeginWriting() noexcept {
    int nobody = 0;
    return m_users.compare_exchange_strong(nobody, kWriter, std::memory_order_acquire,
                                           std::memory_order_relaxed);
}

}  // namespace marl
