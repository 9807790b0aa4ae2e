// SPDX-License-Identifier: MIT
/// \file
/// One slice of a streamed file.
#pragma once

#include <MarlCore/Files/streaming/CBufferPoolEntry.h>

#include <atomic>

namespace marl {

/// A range of a file's converted samples. It is loaded while it holds an entry of the buffer pool, which can
/// take the entry away for another slice at any moment.
///
/// Sample indices count single interleaved samples of the output. Whoever looks at the buffer takes it once
/// (`getBufferPoolRef`) and goes on with that, rather than asking `isLoaded` first. [any thread; destroyed by
/// one thread when no other uses it]
class MARLCORE_EXPORT CPartialFileData : public halyard::CSharedObject {
public:
    CPartialFileData() noexcept = default;
    /// Samples `first` to `last`, inclusive.
    CPartialFileData(int first, int last) noexcept : m_first(first), m_last(last) {}
    /// Makes its entry free.
    ~CPartialFileData() override;

    int getFirstSample() const noexcept { return m_first; }  ///< -1 in a slice of nothing
    int getLastSample() const noexcept { return m_last; }    ///< inclusive; -1 in a slice of nothing

    /// [playback]
    bool isLoaded() const noexcept { return buffer() != nullptr; }
    /// The entry's bytes. For a slice that is loaded: on another one `LogNullRef` ends the process.
    std::byte* getSampleBufferPtr() const noexcept { return getBufferPoolRef()->getBufferPtr(); }
    /// Null while the slice is not loaded.
    CBufferPoolEntryRef getBufferPoolRef() const noexcept { return CBufferPoolEntryRef(buffer()); }
    void setSampleBufferRef(const CBufferPoolEntryRef& entry) noexcept;
    /// The same for a slice that is not loaded; false, and nothing is changed, for one that is.
    bool setFirstSampleBufferRef(const CBufferPoolEntryRef& entry) noexcept;
    /// The time of its entry becomes now. For a slice that is loaded.
    void updateAccessTime() noexcept;
    /// Called by the pool when it takes the entry away: the slice is not loaded any more.
    void purgeProc(const CBufferPoolEntryRef& entry) noexcept;

    /// The entry without a reference to it, or null. The pool keeps it; whether it still holds this slice is
    /// another question. [playback]
    CBufferPoolEntry* buffer() const noexcept { return m_buffer.load(std::memory_order_acquire); }

private:
    std::atomic<CBufferPoolEntry*> m_buffer{nullptr};  // holds one reference
    int m_first = -1;
    int m_last = -1;
};

using CPartialFileDataRef = halyard::CSharedObjectRef<CPartialFileData>;

}  // namespace marl
