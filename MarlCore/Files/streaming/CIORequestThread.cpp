// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CIORequestThread.h>

#include <MarlCore/Files/streaming/CBufferPoolEntry.h>

namespace marl {
namespace {

/// A slice at least, of any width: who asks for all of a long range each time has all of it looked at each
/// time.
constexpr int kMostSamplesAtOnce = CBufferPoolEntry::kBufferSize;

/// Reads from `first` to `last` by the pieces that the data has, each of which stays in memory.
void load(IFileData& data, int first, int last) {
    if (data.isSampleRangeLoaded(first, last)) return;
    for (;;) {
        int outLast = first;
        const int end = last - first < kMostSamplesAtOnce ? last : first + kMostSamplesAtOnce - 1;
        const void* const samples = data.readSamples(first, end, &outLast, true);
        const bool isPastTheEnd = outLast < first || (!samples && outLast == first);
        if (outLast >= last || isPastTheEnd) return;
        first = outLast + 1;
    }
}

}  // namespace

CIORequestThread::CIORequestThread(int buffersToAllocate) : CIOBufferThread(newBuffers(buffersToAllocate)) {}

CIORequestThread::~CIORequestThread() {
    stopProcessing();
    sleepUntilThreadExits(true, 0);
}

CIOBufferThread::Buffers CIORequestThread::newBuffers(int count) {
    requirePositiveCount(count);
    Buffers buffers;
    for (int i = 0; i < count; ++i) buffers.push_back(std::make_unique<CIORequestBuffer>());
    return buffers;
}

void CIORequestThread::postRequest(const IAudioSourceRef& source, int first, int last) {
    if (source) {
        auto* const buffer = dynamic_cast<CIORequestBuffer*>(getInBuffer());
        if (!buffer)
            throw halyard::CException(
                halyard::kInternalError,
                "CIORequestThread::postRequest could not post to buffer-- currrent in-buffer is not empty");
        buffer->copyRequest(source, first, last);
        releaseInBuffer(buffer);
    }
    wake();
}

void CIORequestThread::wake() {
    m_wakeUp.lock();
    m_wakeUp.unlockAndSetValue(1);
}

void CIORequestThread::runOnce() {
    m_wakeUp.lockWhenValueSet(1);
    m_wakeUp.unlockAndSetValue(0);
    CIOBufferThread::runOnce();
}

void CIORequestThread::processBuffer(const CIOBuffer* buffer) {
    const auto* const request = dynamic_cast<const CIORequestBuffer*>(buffer);
    halyard::throwIfNull(request, "buffer");
    if (!request->getAudioSource()) return;
    const IFileDataRef data = request->getAudioSource()->getFileData();
    halyard::throwIfNull(data, "fileData");
    load(*data, request->getFirstSample(), request->getLastSample());
}

void CIORequestThread::postImmediateRequest(const IAudioSourceRef& source, int first, int last,
                                            bool isQueued) {
    if (isQueued) return postRequest(source, first, last);
    auto request = std::make_unique<CIORequestBuffer>();
    request->copyRequest(source, first, last);
    m_immediateRequests.push_back(std::move(request));
}

void CIORequestThread::processImmediateRequests() {
    for (const std::unique_ptr<CIORequestBuffer>& request : m_immediateRequests) processBuffer(request.get());
    flushImmediateRequests();
}

bool CIORequestThread::areBufferQueuesEmpty() const noexcept {
    return m_immediateRequests.empty() && currentOutBufferState() == CIOBuffer::kEmpty;
}

}  // namespace marl
