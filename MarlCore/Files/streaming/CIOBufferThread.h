// SPDX-License-Identifier: MIT
/// \file
/// The base of the threads that take disk work off the audio thread.
#pragma once

#include <MarlCore/Files/streaming/CIOBuffer.h>
#include <MarlCore/foundation/CThread.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace marl {

/// A ring of buffers between one *producer* thread and one I/O thread, and the loop that works it off.
///
/// The producer fills the buffer at the in index, once that is empty, and goes on to the next; the I/O thread
/// processes the buffer at the out index, once that is full. A full ring is an answer, never a wait.
///
/// Errors. What `processBuffer` throws ends the thread and stays with it: `getFailure` tells the owner, who
/// may ask from any thread. The indices are as they were, so the failed buffer is next again, and all that
/// was posted behind it waits. The owner either gives up, or starts the thread again (`runWithPriority`),
/// which tries the same buffer once more, or drops it first (`skipOutBuffer`).
///
/// The owner chooses the thread's priority and starts it. One thread at a time is the producer; what is not
/// tagged is for the owner, from any thread.
class MARLCORE_EXPORT CIOBufferThread : public halyard::CPThread {
public:
    ~CIOBufferThread() override;

    /// Works off full buffers in ring order until it meets one that is not full, or processing is off. An
    /// owner whose thread has ended may call it to finish what is left.
    void runOnce() override;

    /// Does the work of one full buffer. [I/O thread]
    virtual void processBuffer(const CIOBuffer* buffer) = 0;

    /// The buffer to fill next; null while it is not empty, and so the ring is full. Neither allocates, nor
    /// locks, nor calls the system. [playback] [producer]
    CIOBuffer* getInBuffer() noexcept;
    /// [playback] [producer]
    bool canAcceptBuffer() noexcept { return getInBuffer() != nullptr; }
    /// Hands over the buffer that `getInBuffer` gave. [playback] [producer]
    void releaseInBuffer(CIOBuffer* buffer);

    /// On at first.
    void startProcessing() noexcept { m_processingBuffers = 1; }
    /// Takes effect between two buffers; the one that is being processed is finished.
    void stopProcessing() noexcept { m_processingBuffers = 0; }

    /// Empties every buffer without processing it, once the one under way is done. Only while processing is
    /// off: "cannot call this while buffer processing is on (m_processingBuffers = %d)". What the buffers
    /// referred to is let go by the I/O thread in its next run.
    ///
    /// Both indices stay where they are, deliberately: buffers posted afterwards wait until the producer has
    /// come round to the out index, and are then worked off from there. `skipOutBuffer` is the way to empty a
    /// ring that goes on in order.
    void flushRequests();

    /// Drops the full buffer that is next, and goes on to the one behind it. False when there is none.
    bool skipOutBuffer();

    int currentInBufferState() const noexcept { return bufferAt(m_inIndex).getState(); }
    int currentOutBufferState() const noexcept { return bufferAt(m_outIndex).getState(); }

protected:
    using Buffers = std::vector<std::unique_ptr<CIOBuffer>>;

    /// `buffers`: the ring, at least one; see `requirePositiveCount`.
    explicit CIOBufferThread(Buffers buffers);

    /// Throws `CParamException` "buffersToAllocate must be positive (got %ld)".
    static void requirePositiveCount(int buffersToAllocate);

    /// Held while a buffer is processed; never by the producer.
    std::mutex m_processingMutex;

private:
    CIOBuffer& bufferAt(int index) const noexcept { return *m_buffers[static_cast<std::size_t>(index)]; }
    int indexBehind(int index) const noexcept { return (index + 1) % static_cast<int>(m_buffers.size()); }
    void incrementInBufferIndex() noexcept { m_inIndex = indexBehind(m_inIndex); }
    void incrementOutBufferIndex() noexcept { m_outIndex = indexBehind(m_outIndex); }
    bool processOutBuffer();
    void finishOutBuffer();
    void dropFlushedObjects();

    std::atomic<int> m_inIndex{0};   // the producer's
    std::atomic<int> m_outIndex{0};  // changed under m_processingMutex
    std::atomic<int> m_processingBuffers{1};
    Buffers m_buffers;
    std::vector<halyard::CSharedObjectRef<halyard::CSharedObject>>
        m_flushedObjects;  // under m_processingMutex
};

}  // namespace marl
