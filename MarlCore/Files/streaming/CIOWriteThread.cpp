// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CIOWriteThread.h>

#include <MarlCore/Files/conversion/SampleKernels.h>
#include <MarlCore/Files/streaming/CIOWriteBuffer.h>
#include <MarlCore/Files/streaming/WrappedIntegersImpl.h>
#include <MarlCore/Files/writing/CAIFWriter.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace marl {

using halyard::CException;
using halyard::CParamException;
using halyard::kInternalError;
using halyard::kParameterError;

namespace {

std::size_t bytesPerSampleIn(const IFileParserRef& parser) {
    halyard::throwIfNull(parser, "parser");
    IFileParser::FormatInfo format;
    parser->getFormatInfo(format);
    return format.mBitsPerChannel / 8;
}

void requireConvertible(std::size_t sourceBytes, std::size_t fileBytes) {
    if (sourceBytes != 0 && (sourceBytes == fileBytes || sourceBytes == sizeof(float))) return;
    throw CParamException(kParameterError,
                          "samples of %zu bytes cannot be recorded into a file of samples of %zu bytes",
                          sourceBytes, fileBytes);
}

template <class Buffer>
std::unique_ptr<CIOBuffer> newBuffer(int bufferSize) {
    auto buffer = std::make_unique<Buffer>(bufferSize);
    buffer->getBuffer();  // throws when there is no memory, instead of at the first post
    if constexpr (requires { buffer->getBufferTwo(); }) buffer->getBufferTwo();
    return buffer;
}

/// Two blocks, where they are interleaved, and as much again where the converted samples of two blocks go.
CBufferRef newScratch(int bufferSize, bool twoBlocks, bool isConverted) {
    if (!twoBlocks && !isConverted) return nullptr;
    const std::uint64_t twice = 2 * static_cast<std::uint64_t>(bufferSize);
    return CBufferRef(new halyard::CBuffer(twoBlocks && isConverted ? 2 * twice : twice, true));
}

halyard::CStringRef pathOf(const CURLRef& url) {
    halyard::throwIfNull(url, "url");
    return halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
}

[[noreturn]] void throwRingIsFull(const char* operation) {
    throw CException(kInternalError,
                     "CIOWriteThread::%s could not post to buffer-- currrent in-buffer is not empty",
                     operation);
}

}  // namespace

CIOBufferThread::Buffers CIOWriteThread::newBuffers(int count, int bufferSize, bool twoBlocks) {
    requirePositiveCount(count);
    Buffers buffers;
    for (int i = 0; i < count; ++i)
        buffers.push_back(twoBlocks ? newBuffer<CIOWriteBufferStereo>(bufferSize)
                                    : newBuffer<CIOWriteBuffer>(bufferSize));
    return buffers;
}

CIOWriteThread::CIOWriteThread(const CURLRef& url, const IFileParserRef& parser,
                               AudioStreamBasicDescription sourceFormat, int buffersToAllocate,
                               int bufferSize, bool twoBlocks, bool deferred)
    : CIOBufferThread(newBuffers(buffersToAllocate, bufferSize, twoBlocks)),
      m_sourceBytesPerSample(sourceFormat.mBitsPerChannel / 8),
      m_fileBytesPerSample(bytesPerSampleIn(parser)),
      m_isConverted(m_sourceBytesPerSample != m_fileBytesPerSample),
      m_twoBlocks(twoBlocks),
      m_deferred(deferred) {
    requireConvertible(m_sourceBytesPerSample, m_fileBytesPerSample);
    m_scratch = newScratch(bufferSize, twoBlocks, m_isConverted);
    m_writer = new CAIFWriter(pathOf(url), parser, true);
}

CIOWriteThread::~CIOWriteThread() {
    stopProcessing();
    sleepUntilThreadExits(true, 0);
}

void CIOWriteThread::postBuffer(const void* data, int size) {
    auto* const buffer = dynamic_cast<CIOWriteBuffer*>(getInBuffer());
    if (!buffer) throwRingIsFull("postBuffer");
    buffer->writeBytesToBuffer(data, size);
    releaseInBuffer(buffer);
}

void CIOWriteThread::postBufferStereo(const void* data, int size, const void* data2, int size2) {
    auto* const buffer = dynamic_cast<CIOWriteBufferStereo*>(getInBuffer());
    if (!buffer) throwRingIsFull("postBufferStereo");
    buffer->writeBytesToBuffers(data, size, data2, size2);
    releaseInBuffer(buffer);
}

void CIOWriteThread::getWriteCallback(CIOWriteCallback& callback) noexcept {
    callback = {&CIOWriteThread::staticPostBuffer, this};
}

void CIOWriteThread::staticPostBuffer(void* context, const void* data, int size) {
    auto* const thread = static_cast<CIOWriteThread*>(context);
    halyard::throwIfNull(thread, "context");
    thread->postBuffer(data, size);
}

void CIOWriteThread::processBuffer(const CIOBuffer* buffer) {
    const auto* const block = dynamic_cast<const CIOWriteBuffer*>(buffer);
    const auto* const blocks = dynamic_cast<const CIOWriteBufferStereo*>(buffer);
    halyard::throwIfNull(m_twoBlocks ? blocks : block, "buffer");
    const std::span<const std::byte> samples = m_twoBlocks ? interleaved(*blocks) : inFileFormat(*block);
    if (m_deferred)
        m_deferredBlocks.emplace_back(new halyard::CBuffer(samples.data(), samples.size(), false));
    else
        write(samples, m_writePosition);
    m_writePosition += samplesIn(samples.size());
}

std::span<const std::byte> CIOWriteThread::inFileFormat(const CIOWriteBuffer& buffer) {
    const std::size_t count = static_cast<std::size_t>(buffer.getBufferBytesUsed()) / m_sourceBytesPerSample;
    const std::size_t size = count * m_fileBytesPerSample;
    if (!m_isConverted) return {buffer.getBuffer(), size};
    convertBufferToInt(buffer.getBuffer(), m_scratch->getPtr(), static_cast<int>(count));
    const std::span samples = m_scratch->span().first(size);
    toHostOrder(samples);
    return samples;
}

/// Of samples that need conversion, the converted ones go behind the interleaved ones, and what is written
/// are the interleaved ones, unconverted. Deliberate: the placement is part of the system. A recording of two
/// blocks has the width of the file; floats are interleaved by whoever posts them.
std::span<const std::byte> CIOWriteThread::interleaved(const CIOWriteBufferStereo& buffer) {
    const std::size_t width = m_sourceBytesPerSample;
    const std::size_t count = static_cast<std::size_t>(buffer.getBufferBytesUsed()) / width;
    const std::size_t countTwo = static_cast<std::size_t>(buffer.getBufferBytesUsedTwo()) / width;
    std::byte* out = m_scratch->getPtr();
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(out, buffer.getBuffer() + i * width, width);
        if (i < countTwo)
            std::memcpy(out + width, buffer.getBufferTwo() + i * width, width);
        else
            std::memset(out + width, 0, width);
        out += 2 * width;
    }
    if (m_isConverted) convertBufferToInt(out, out, static_cast<int>(2 * count));
    return m_scratch->span().first(2 * count * m_fileBytesPerSample);
}

void CIOWriteThread::convertBufferToInt(const void* in, void* out, int count) {
    floatsToWrappedIntegers(in, out, static_cast<std::size_t>(count), static_cast<int>(m_fileBytesPerSample));
}

/// The writer takes samples in host order; those of 24 bits come most significant byte first from the
/// conversion.
void CIOWriteThread::toHostOrder(std::span<std::byte> samples) const noexcept {
    if (m_fileBytesPerSample != 3 || std::endian::native == std::endian::big) return;
    conversion::sampleKernels().reverse24(samples.data(), samples.data(), samplesIn(samples.size()));
}

void CIOWriteThread::finishWriting() {
    const std::lock_guard lock(m_processingMutex);
    unsigned long position = 0;
    for (const CBufferRef& block : m_deferredBlocks) {
        write(block->span(), position);
        position += samplesIn(block->getSize());
    }
}

void CIOWriteThread::finishFile() {
    const std::lock_guard lock(m_processingMutex);
    m_writer->finish();
}

void CIOWriteThread::write(std::span<const std::byte> samples, unsigned long position) {
    const unsigned long count = samplesIn(samples.size());
    m_writer->writeSamples(samples.data(), position, count);
    m_samplesWritten = position + count;
}

unsigned long CIOWriteThread::samplesIn(std::size_t bytes) const noexcept {
    return static_cast<unsigned long>(bytes / m_fileBytesPerSample);
}

}  // namespace marl
