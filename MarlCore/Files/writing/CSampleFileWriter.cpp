// SPDX-License-Identifier: MIT
#include <MarlCore/Files/writing/CSampleFileWriter.h>

#include <MarlCore/Files/conversion/SampleKernels.h>
#include <MarlCore/Files/writing/OutputFileImpl.h>

#include <algorithm>
#include <array>
#include <utility>

namespace marl {

using halyard::CParamException;
using halyard::kParameterError;

namespace {

/// Bytes that are reordered or filled at a time: whole samples of every width, and small enough for the
/// cache.
constexpr std::size_t kBlockSize = 49152;

conversion::SampleKernel reversalOf(std::size_t bytesPerSample) noexcept {
    const conversion::SampleKernels& kernels = conversion::sampleKernels();
    return bytesPerSample == 2   ? kernels.reverse16
           : bytesPerSample == 3 ? kernels.reverse24
                                 : kernels.reverse32;
}

}  // namespace

CSampleFileWriter::CSampleFileWriter(const halyard::CStringRef& path, Layout layout, bool overwrite)
    : m_layout(std::move(layout)) {
    halyard::throwIfNull(path, "path");
    m_file = std::make_unique<OutputFile>(path->getStringRef(), m_layout.head, overwrite);
}

CSampleFileWriter::~CSampleFileWriter() = default;

std::size_t CSampleFileWriter::bytesPerFrame() const noexcept {
    return m_layout.channels * m_layout.bytesPerSample;
}

OutputFile& CSampleFileWriter::openFile() const {
    if (!m_file) throw CParamException(kParameterError, "the file is finished already");
    return *m_file;
}

void CSampleFileWriter::writeSamples(const void* data, unsigned long position, unsigned long count) {
    OutputFile& file = openFile();
    if (count == 0) return;
    halyard::throwIfNull(data, "data");
    const std::int64_t end = endOfSamples(position, count);
    const std::size_t width = m_layout.bytesPerSample;
    const std::span samples(static_cast<const std::byte*>(data), count * width);
    try {
        writeBody(samples, static_cast<std::int64_t>(position * width), end);
    } catch (...) {
        file.cutTo(fileOffset(withPad(m_sampleBytes)));  // what arrived of the block is behind the end
        throw;
    }
    stateSampleBytes(end);
}

/// Where the samples end, in bytes, after these are written: behind a whole frame.
std::int64_t CSampleFileWriter::endOfSamples(unsigned long position, unsigned long count) const {
    const auto frame = static_cast<std::uint64_t>(bytesPerFrame());
    const std::uint64_t limit =
        static_cast<std::uint64_t>(m_layout.mostSampleBytes) / frame * m_layout.channels;
    if (position > limit || count > limit - position)
        throw CParamException(kParameterError,
                              "a file holds at most %llu samples (%lu from sample %lu on do not fit)",
                              static_cast<unsigned long long>(limit), count, position);
    const std::uint64_t samples = std::uint64_t{position} + count;
    const std::uint64_t frames = (samples + m_layout.channels - 1) / m_layout.channels;
    return std::max(m_sampleBytes, static_cast<std::int64_t>(frames * frame));
}

/// The samples, and silence on both sides where they leave a gap; `end` as `endOfSamples`.
void CSampleFileWriter::writeBody(std::span<const std::byte> samples, std::int64_t start, std::int64_t end) {
    const std::int64_t samplesEnd = start + static_cast<std::int64_t>(samples.size());
    fill(m_sampleBytes, start, m_layout.silence);
    writeInFileOrder(samples, start);
    if (end == m_sampleBytes) return;
    fill(samplesEnd, end, m_layout.silence);
    fill(end, withPad(end), std::byte{0});
}

void CSampleFileWriter::writeInFileOrder(std::span<const std::byte> samples, std::int64_t start) {
    const std::size_t width = m_layout.bytesPerSample;
    if (width == 1 || m_layout.order == std::endian::native)
        return m_file->writeAt(fileOffset(start), samples);
    const conversion::SampleKernel reverse = reversalOf(width);
    alignas(64) std::array<std::byte, kBlockSize> block;
    for (std::size_t done = 0; done < samples.size(); done += kBlockSize) {
        const auto part = samples.subspan(done, std::min(kBlockSize, samples.size() - done));
        reverse(part.data(), block.data(), part.size() / width);
        m_file->writeAt(fileOffset(start) + static_cast<std::int64_t>(done),
                        std::span(block).first(part.size()));
    }
}

/// Bytes `from` to `to` (exclusive) of the samples; nothing when that is no range.
void CSampleFileWriter::fill(std::int64_t from, std::int64_t to, std::byte value) {
    if (from >= to) return;
    std::array<std::byte, kBlockSize> block;
    std::fill_n(block.begin(), std::min<std::int64_t>(to - from, kBlockSize), value);
    while (from < to) {
        const auto size = static_cast<std::size_t>(std::min<std::int64_t>(to - from, kBlockSize));
        m_file->writeAt(fileOffset(from), std::span(block).first(size));
        from += static_cast<std::int64_t>(size);
    }
}

/// The size of the sample chunk goes first. Between the two writes readers find more samples than the front
/// states, and go by one number or the other, both of which are there; the other way round the front would
/// promise samples that the chunk does not have.
void CSampleFileWriter::stateSampleBytes(std::int64_t sampleBytes) {
    stateLength(m_layout.head, sampleBytes);
    const std::span<const std::byte> head(m_layout.head);
    m_file->writeAt(static_cast<std::int64_t>(m_layout.sampleSizeAt),
                    head.subspan(m_layout.sampleSizeAt, m_layout.sampleSizeWidth));
    m_sampleBytes = sampleBytes;
    m_file->writeAt(0, head.first(m_layout.frontSize));
}

std::int64_t CSampleFileWriter::fileOffset(std::int64_t sampleByte) const noexcept {
    return static_cast<std::int64_t>(m_layout.head.size()) + sampleByte;
}

std::int64_t CSampleFileWriter::withPad(std::int64_t sampleBytes) const noexcept {
    return sampleBytes + (m_layout.padsOddSizes ? sampleBytes % 2 : 0);
}

void CSampleFileWriter::flush() {
    openFile().sync();
}

void CSampleFileWriter::finish() {
    if (const std::unique_ptr<OutputFile> file = std::move(m_file)) file->close();
}

}  // namespace marl
