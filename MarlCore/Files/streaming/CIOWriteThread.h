// SPDX-License-Identifier: MIT
/// \file
/// The thread that brings a recording to disk.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>
#include <MarlCore/Files/streaming/CIOBufferThread.h>
#include <MarlCore/Files/writing/IFileWriter.h>
#include <MarlCore/foundation/CURL.h>

#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

namespace marl {

class CIOWriteBuffer;
class CIOWriteBufferStereo;

/// How an audio thread posts samples without knowing whom to: `function(context, data, size)`, size in bytes.
struct CIOWriteCallback {
    void (*function)(void* context, const void* data, int size) = nullptr;
    void* context = nullptr;
};

/// Writes posted blocks of samples to a new AIFF file, turning floats into the integers of the file.
///
/// ```cpp
/// const IFileParserRef take(new CLoopDescription(44100, 2, 24));
/// CIOWriteThread thread(url, take, platform::makeHostFormat(44100, 2, 32), 16, 65536, false, false);
/// thread.runWithPriority(0.5, -1);
/// if (thread.canAcceptBuffer()) thread.postBuffer(samples, bytes);  // the audio thread, again and again
/// thread.sleepUntilThreadExits(true, 0);
/// if (thread.getFailure()) std::rethrow_exception(thread.getFailure());
/// thread.runOnce();  // what was posted last
/// thread.finishWriting();
/// thread.finishFile();
/// ```
///
/// The file's header is true after every block: a process that is killed leaves a file with all blocks that
/// were processed. A write that fails ends the thread (see `CIOBufferThread`) and leaves the file playable up
/// to the block before.
///
/// Deferred, it keeps the blocks in memory, and nothing but the header is in the file until `finishWriting`:
/// for a disk that must be left alone, at the price of the take when the process dies. Only then is memory
/// allocated while recording, by the I/O thread.
class MARLCORE_EXPORT CIOWriteThread : public CIOBufferThread {
public:
    /// Replaces the file at `url`. `parser` has the format of the file and its metadata; of `sourceFormat`,
    /// the format of what is posted, only the bits per channel count: those of the file, or 32 for floats.
    /// The ring has `buffersToAllocate` buffers of `bufferSize` bytes. `twoBlocks`: the channels of a stereo
    /// file are posted apart, with `postBufferStereo`. All memory for recording is taken here.
    ///
    /// Throws `CParamException` "buffersToAllocate must be positive (got %ld)", then "bufferSize must be
    /// positive (got %ld)", and for samples that are neither floats nor as wide as the file's; then what
    /// `CAIFWriter` throws.
    CIOWriteThread(const CURLRef& url, const IFileParserRef& parser, AudioStreamBasicDescription sourceFormat,
                   int buffersToAllocate, int bufferSize, bool twoBlocks, bool deferred);
    /// Stops the thread. Blocks that it has not come to are lost.
    ~CIOWriteThread() override;

    /// Copies `size` bytes, whole samples, into the ring. Neither allocates, nor locks, nor calls the system
    /// unless it throws: `CException` "CIOWriteThread::postBuffer could not post to buffer-- currrent
    /// in-buffer is not empty" (spelt like that) when the ring is full, which `canAcceptBuffer` tells
    /// beforehand, and what `writeBytesToBuffer` throws. [playback] [producer]
    void postBuffer(const void* data, int size);
    /// The same for two channels; both have as many samples. Where the second is shorter, it is silent.
    /// "CIOWriteThread::postBufferStereo could not post …", also when the ring was not made for two blocks.
    void postBufferStereo(const void* data, int size, const void* data2, int size2);

    void getWriteCallback(CIOWriteCallback& callback) noexcept;
    /// `postBuffer` of the thread behind `context`.
    static void staticPostBuffer(void* context, const void* data, int size);

    /// Writes one block, or keeps it when deferred. [I/O thread]
    void processBuffer(const CIOBuffer* buffer) override;

    /// `count` floats at `in` as integers of the file's width at `out`, those of 24 bits most significant
    /// byte first; see `floatsToWrappedIntegers`. [I/O thread]
    virtual void convertBufferToInt(const void* in, void* out, int count);

    /// Deferred: writes all blocks kept so far, from the start of the file on, and keeps them, so that after
    /// an error it can be called again. Posted blocks that were not processed are not among them.
    void finishWriting();

    /// Closes the file, and throws what the system says only then. Nothing can be written afterwards.
    void finishFile();

    /// Samples (of all channels) that the file holds. [any thread]
    unsigned long getSamplesWritten() const noexcept { return m_samplesWritten; }

private:
    static Buffers newBuffers(int count, int bufferSize, bool twoBlocks);
    std::span<const std::byte> inFileFormat(const CIOWriteBuffer& buffer);
    std::span<const std::byte> interleaved(const CIOWriteBufferStereo& buffer);
    void toHostOrder(std::span<std::byte> samples) const noexcept;
    void write(std::span<const std::byte> samples, unsigned long position);
    unsigned long samplesIn(std::size_t bytes) const noexcept;

    const std::size_t m_sourceBytesPerSample;
    const std::size_t m_fileBytesPerSample;
    const bool m_isConverted;
    const bool m_twoBlocks;
    const bool m_deferred;
    CBufferRef m_scratch;  // null when blocks are written as they are posted
    IFileWriterRef m_writer;
    unsigned long m_writePosition = 0;         // samples processed; changed under m_processingMutex
    std::vector<CBufferRef> m_deferredBlocks;  // in the order of posting; under m_processingMutex
    std::atomic<unsigned long> m_samplesWritten{0};
};

}  // namespace marl
