// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CIOBufferThread.h>

#include <utility>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;

CIOBufferThread::CIOBufferThread(Buffers buffers) : m_buffers(std::move(buffers)) {}

CIOBufferThread::~CIOBufferThread() = default;

void CIOBufferThread::requirePositiveCount(int buffersToAllocate) {
    if (buffersToAllocate < 1)
        throw CParamException(kParameterError, "buffersToAllocate must be positive (got %ld)",
                              long{buffersToAllocate});
}

CIOBuffer* CIOBufferThread::getInBuffer() noexcept {
    CIOBuffer& buffer = bufferAt(m_inIndex);
    return buffer.getState() == CIOBuffer::kEmpty ? &buffer : nullptr;
}

void CIOBufferThread::releaseInBuffer(CIOBuffer* buffer) {
    halyard::throwIfNull(buffer, "buffer");
    buffer->setState(CIOBuffer::kFull);
    incrementInBufferIndex();
}

void CIOBufferThread::runOnce() {
    dropFlushedObjects();
    while (processOutBuffer()) {
    }
}

/// False when there is nothing to do.
bool CIOBufferThread::processOutBuffer() {
    const std::lock_guard lock(m_processingMutex);
    if (m_processingBuffers == 0 || currentOutBufferState() != CIOBuffer::kFull) return false;
    processBuffer(&bufferAt(m_outIndex));
    finishOutBuffer();
    return true;
}

/// The state comes last of what touches the buffer: from then on it is the producer's.
void CIOBufferThread::finishOutBuffer() {
    CIOBuffer& buffer = bufferAt(m_outIndex);
    buffer.bufferFinished();
    buffer.setState(CIOBuffer::kEmpty);
    incrementOutBufferIndex();
}

bool CIOBufferThread::skipOutBuffer() {
    const std::lock_guard lock(m_processingMutex);
    if (currentOutBufferState() != CIOBuffer::kFull) return false;
    finishOutBuffer();
    return true;
}

void CIOBufferThread::flushRequests() {
    if (const int processing = m_processingBuffers)
        throw CParamException(kParameterError,
                              "cannot call this while buffer processing is on (m_processingBuffers = %d)",
                              processing);
    // The thread may be in the middle of a buffer still, which must not become the producer's meanwhile.
    const std::lock_guard lock(m_processingMutex);
    m_flushedObjects.reserve(m_flushedObjects.size() + m_buffers.size());
    for (const std::unique_ptr<CIOBuffer>& buffer : m_buffers) {
        if (buffer->getState() != CIOBuffer::kFull) continue;  // the producer's, and empty already
        m_flushedObjects.push_back(buffer->giveUpObject());
        buffer->setState(CIOBuffer::kEmpty);
    }
}

void CIOBufferThread::dropFlushedObjects() {
    decltype(m_flushedObjects) objects;
    const std::lock_guard lock(m_processingMutex);
    objects.swap(m_flushedObjects);
}

}  // namespace marl
