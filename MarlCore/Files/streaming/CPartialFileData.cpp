// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CPartialFileData.h>

#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/platform/AbsoluteTime.h>

namespace marl {

CPartialFileData::~CPartialFileData() {
    if (isLoaded()) CDiskFileData::releaseBufferRef(this);
}

void CPartialFileData::setSampleBufferRef(const CBufferPoolEntryRef& entry) noexcept {
    if (entry) entry->Retain();
    if (CBufferPoolEntry* const old = m_buffer.exchange(entry.get(), std::memory_order_acq_rel))
        old->Release();
}

bool CPartialFileData::setFirstSampleBufferRef(const CBufferPoolEntryRef& entry) noexcept {
    entry->Retain();
    CBufferPoolEntry* none = nullptr;
    const bool isFirst = m_buffer.compare_exchange_strong(none, entry.get(), std::memory_order_release,
                                                          std::memory_order_relaxed);
    if (!isFirst) entry->Release();
    return isFirst;
}

void CPartialFileData::updateAccessTime() noexcept {
    getBufferPoolRef()->setLastAccessTime(platform::AbsoluteTimeGetCurrent());
}

void CPartialFileData::purgeProc(const CBufferPoolEntryRef&) noexcept {
    setSampleBufferRef(nullptr);
}

}  // namespace marl
