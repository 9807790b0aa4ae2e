// SPDX-License-Identifier: MIT
/// \file
/// What the writers of the formats share: a file that grows behind a header that is always true.
#pragma once

#include <MarlCore/Files/writing/IFileWriter.h>
#include <MarlCore/foundation/CString.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace marl {

class OutputFile;

/// A file of one head and, behind it, interleaved samples to its end. The formats say what the head is.
///
/// Every block goes to disk in this order: samples, size of the sample chunk, then the sizes at the front. A
/// process that is killed between any two of these leaves a file whose sizes are true or fall short, and
/// never reach past the end of the file.
class MARLCORE_EXPORT CSampleFileWriter : public IFileWriter {
public:
    /// Bytes of samples that a file may hold, unless its format says more: readers count them in a signed
    /// 32-bit number.
    static constexpr std::int64_t kMostSampleBytes = 0x7FFFFFFF;

    ~CSampleFileWriter() override;

    /// Throws `CParamException` when the samples would exceed what the format holds, and for a finished file.
    void writeSamples(const void* data, unsigned long position, unsigned long count) override;
    void flush() override;
    void finish() override;

protected:
    /// A file without samples, and where its head says how many there are.
    struct Layout {
        std::vector<std::byte> head;  ///< everything in front of the first sample
        std::size_t frontSize = 0;  ///< the first bytes of the head, which hold every length but the next one
        std::size_t sampleSizeAt = 0;     ///< offset of the size of the sample chunk
        std::size_t sampleSizeWidth = 4;  ///< bytes of that size
        std::int64_t mostSampleBytes = kMostSampleBytes;
        std::size_t channels = 0;
        std::size_t bytesPerSample = 0;
        std::endian order = std::endian::big;  ///< of the samples
        std::byte silence{0};                  ///< each byte of a silent sample
        /// Samples of an odd size are followed by one byte that their size does not count.
        bool padsOddSizes = true;
    };

    /// Creates the file at `path` and writes the head. Of an existing file, `overwrite` true: the new one
    /// takes its place (and its permissions) once its head is on disk, and who reads the old one keeps it;
    /// false: an error, EEXIST.
    CSampleFileWriter(const halyard::CStringRef& path, Layout layout, bool overwrite);

    /// Makes `head` state `sampleBytes` bytes of samples, which are whole frames.
    virtual void stateLength(std::span<std::byte> head, std::int64_t sampleBytes) const = 0;

    std::size_t bytesPerFrame() const noexcept;

private:
    OutputFile& openFile() const;
    std::int64_t endOfSamples(unsigned long position, unsigned long count) const;
    std::int64_t fileOffset(std::int64_t sampleByte) const noexcept;
    std::int64_t withPad(std::int64_t sampleBytes) const noexcept;
    void writeBody(std::span<const std::byte> samples, std::int64_t start, std::int64_t end);
    void writeInFileOrder(std::span<const std::byte> samples, std::int64_t start);
    void fill(std::int64_t from, std::int64_t to, std::byte value);
    void stateSampleBytes(std::int64_t sampleBytes);

    std::unique_ptr<OutputFile> m_file;  // null when finished
    Layout m_layout;
    std::int64_t m_sampleBytes = 0;  // as the header on disk states; whole frames
};

}  // namespace marl
