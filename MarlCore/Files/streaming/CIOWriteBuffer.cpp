// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CIOWriteBuffer.h>

#include <cstring>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;

namespace {

/// `which` begins the messages: "size" or "second size".
void requireFit(int size, int bufferSize, const char* which) {
    if (size < 1) throw CParamException(kParameterError, "%s must be positive (got %ld)", which, long{size});
    if (size > bufferSize)
        throw CParamException(kParameterError,
                              "%s must not be greater than buffer size (got %ld, buffer is %ld bytes big)",
                              which, long{size}, long{bufferSize});
}

}  // namespace

CIOWriteBuffer::Block CIOWriteBuffer::newBlock(int size) noexcept {
    if (size < 1) return nullptr;
    const auto bytes = static_cast<std::size_t>(size);
    auto* const block = static_cast<std::byte*>(std::malloc(bytes));
    if (block) std::memset(block, 0, bytes);
    return Block(block);
}

void CIOWriteBuffer::requirePositive(int bufferSize) {
    if (bufferSize < 1)
        throw CParamException(kParameterError, "bufferSize must be positive (got %ld)", long{bufferSize});
}

CIOWriteBuffer::CIOWriteBuffer(int bufferSize)
    : m_bufferData(newBlock(bufferSize)), m_bufferSize(bufferSize) {
    requirePositive(bufferSize);
}

const std::byte* CIOWriteBuffer::getBuffer() const {
    halyard::throwIfNull(m_bufferData, "m_bufferData");
    return m_bufferData.get();
}

void CIOWriteBuffer::writeBytesToBuffer(const void* data, int size) {
    requireFit(size, m_bufferSize, "size");
    halyard::throwIfNull(data, "data");
    halyard::throwIfNull(m_bufferData, "m_bufferData");
    std::memcpy(m_bufferData.get(), data, static_cast<std::size_t>(size));
    m_bytesUsed = size;
}

CIOWriteBufferStereo::CIOWriteBufferStereo(int bufferSize)
    : CIOWriteBuffer(bufferSize), m_bufferData2(newBlock(bufferSize)), m_bufferSize2(bufferSize) {}

const std::byte* CIOWriteBufferStereo::getBufferTwo() const {
    halyard::throwIfNull(m_bufferData2, "m_bufferData2");
    return m_bufferData2.get();
}

void CIOWriteBufferStereo::writeBytesToBuffers(const void* data, int size, const void* data2, int size2) {
    writeBytesToBuffer(data, size);
    requireFit(size2, m_bufferSize2, "second size");
    halyard::throwIfNull(data2, "data2");
    halyard::throwIfNull(m_bufferData2, "m_bufferData2");
    std::memcpy(m_bufferData2.get(), data2, static_cast<std::size_t>(size2));
    m_bytesUsed2 = size2;
}

}  // namespace marl
