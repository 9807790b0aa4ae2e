// SPDX-License-Identifier: MIT
/// \file
/// The thread that reads ahead.
#pragma once

#include <MarlCore/Files/streaming/CIOBufferThread.h>
#include <MarlCore/Files/streaming/CIORequestBuffer.h>
#include <MarlCore/foundation/CMutex.h>

#include <memory>
#include <vector>

namespace marl {

/// Loads the samples that are asked for, so that the audio thread finds them in memory. Asleep while nothing
/// is asked for; a request wakes it at once, and several that come together are one awakening.
///
/// A source that cannot be read ends the thread (see `CIOBufferThread`). After `skipOutBuffer` and a new
/// start, or after `startProcessing`, a null request wakes it for what waits in the ring.
///
/// Immediate requests are a list beside the ring that its owner's thread works off itself. [one thread at a
/// time]
class MARLCORE_EXPORT CIORequestThread : public CIOBufferThread {
public:
    /// A ring of `buffersToAllocate` requests. Throws `CParamException` "buffersToAllocate must be positive
    /// (got %ld)".
    explicit CIORequestThread(int buffersToAllocate);
    /// Stops the thread after the request that is under way; the others are dropped.
    ~CIORequestThread() override;

    /// Asks for samples `first` to `last` of `source` (interleaved indices, inclusive) and wakes the thread;
    /// with a null source, only wakes it. Never allocates, and frees nothing; takes the wake-up lock, which
    /// is held for moments only, and calls the system when the thread is asleep. Throws `CException`
    /// "CIORequestThread::postRequest could not post to buffer-- currrent in-buffer is not empty" (spelt like
    /// that) when the ring is full, which `canAcceptBuffer` tells beforehand. [producer]
    void postRequest(const IAudioSourceRef& source, int first, int last);

    /// `postRequest` when `isQueued`; otherwise the request goes to the immediate ones.
    void postImmediateRequest(const IAudioSourceRef& source, int first, int last, bool isQueued);
    /// Loads all that is asked for immediately, in the calling thread, and forgets the requests. After an
    /// error, which it throws, they are all still there.
    void processImmediateRequests();
    void flushImmediateRequests() noexcept { m_immediateRequests.clear(); }
    /// True when there is no immediate request and none that the thread would take up next.
    bool areBufferQueuesEmpty() const noexcept;

    /// Sleeps until a request, or a wish to stop, comes, and works off the ring. [I/O thread]
    void runOnce() override;

    /// Loads every slice of the range; nothing when it is in memory. [I/O thread]
    void processBuffer(const CIOBuffer* buffer) override;

protected:
    void wakeForStop() override { wake(); }

private:
    static Buffers newBuffers(int count);
    void wake();

    std::vector<std::unique_ptr<CIORequestBuffer>> m_immediateRequests;
    halyard::CConditionalMutex m_wakeUp{0};  // 1: there is something to do
};

}  // namespace marl
