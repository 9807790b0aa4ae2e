// SPDX-License-Identifier: MIT
/// \file
/// Blocks of samples on their way to a file.
#pragma once

#include <MarlCore/Files/streaming/CIOBuffer.h>

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace marl {

/// One block of bytes. Sizes are bytes.
class MARLCORE_EXPORT CIOWriteBuffer : public CIOBuffer {
public:
    /// Throws `CParamException` "bufferSize must be positive (got %ld)". A size that there is no memory for
    /// is found out by `getBuffer`.
    explicit CIOWriteBuffer(int bufferSize);

    /// Throws `CNullPointerException` "Error: m_bufferData is null!" when there was no memory for the block.
    const std::byte* getBuffer() const;
    int getBufferSize() const noexcept { return m_bufferSize; }
    int getBufferBytesUsed() const noexcept { return m_bytesUsed; }

    /// Puts `size` bytes into the block in place of all that was in it. Neither allocates, nor locks, nor
    /// calls the system unless it throws. `CParamException`: "size must be positive (got %ld)", "size must
    /// not be greater than buffer size (got %ld, buffer is %ld bytes big)"; `CNullPointerException`: "Error:
    /// data is null!". The block is then as it was. [playback]
    void writeBytesToBuffer(const void* data, int size);

protected:
    struct Free {
        void operator()(std::byte* block) const noexcept { std::free(block); }
    };
    using Block = std::unique_ptr<std::byte[], Free>;

    /// Zero bytes, all touched, so that no page is missing when the producer writes; null when there is no
    /// memory, or for a size below 1.
    static Block newBlock(int size) noexcept;
    static void requirePositive(int bufferSize);

private:
    Block m_bufferData;
    int m_bufferSize;
    int m_bytesUsed = 0;
};

/// Two blocks of one size, for two channels that are posted apart.
class MARLCORE_EXPORT CIOWriteBufferStereo : public CIOWriteBuffer {
public:
    explicit CIOWriteBufferStereo(int bufferSize);

    /// Throws `CNullPointerException` "Error: m_bufferData2 is null!".
    const std::byte* getBufferTwo() const;
    int getBufferSizeTwo() const noexcept { return m_bufferSize2; }
    int getBufferBytesUsedTwo() const noexcept { return m_bytesUsed2; }

    /// `writeBytesToBuffer`, then the same for the second block, whose messages begin with "second size" and
    /// name "data2". What fails in the second leaves the first written. [playback]
    void writeBytesToBuffers(const void* data, int size, const void* data2, int size2);

private:
    Block m_bufferData2;
    int m_bufferSize2;
    int m_bytesUsed2 = 0;
};

}  // namespace marl
