// SPDX-License-Identifier: MIT
/// \file
/// Pools of any size, and files of raw samples to stream.
#pragma once

#include "support/TemporaryFolder.h"

#include <MarlCore/Files/CMemoryFileData.h>
#include <MarlCore/Files/streaming/CDiskFileData.h>

#include <cstdint>
#include <string>
#include <vector>

namespace support {

/// The production pool with another number of buffers, for the length of a scope in which all streamed files
/// are opened and closed.
class PoolOf {
public:
    explicit PoolOf(int count);
    PoolOf(const PoolOf&) = delete;
    PoolOf& operator=(const PoolOf&) = delete;
    ~PoolOf();

    /// No pool at all, until the first file is opened.
    static void remove();
    static std::size_t size();
    static marl::CBufferPoolEntry& entry(std::size_t index);
    /// The index of an entry.
    static std::size_t indexOf(const marl::CBufferPoolEntryRef& entry);
};

/// What a file holds, and what is wanted of it.
struct StreamCase {
    int fileBits = 16;
    int outputBits = 32;
    int channels = 2;
    int outputChannels = 2;
    double fileRate = 44100;
    double outputRate = 44100;
    int frames = 100000;
    bool bigEndian = true;

    platform::AudioStreamBasicDescription fileFormat() const;
    platform::AudioStreamBasicDescription outputFormat() const;
    std::size_t outputWidth() const { return static_cast<std::size_t>(outputBits) / 8; }
    std::string name() const;
};

/// Random samples between bytes that are none of them, which are loud in every format.
class RawFile {
public:
    static constexpr long long kOffset = 51;  // odd: nothing in the file is aligned

    explicit RawFile(const StreamCase& wanted, std::uint32_t seed = 1);

    const std::string& path() const noexcept { return m_path; }
    /// The bytes of the samples.
    const std::string& samples() const noexcept { return m_samples; }

    /// Opens it; the conversion of the case is set.
    template <typename FileData>
    halyard::CSharedObjectRef<FileData> open() const {
        const halyard::CSharedObjectRef<FileData> data(new FileData(url(), false, m_case.bigEndian));
        data->setSampleConversion(m_case.fileFormat(), m_case.frames, kOffset, m_case.outputFormat());
        return data;
    }
    halyard::CSharedObjectRef<marl::CDiskFileData> streamed() const { return open<marl::CDiskFileData>(); }

    /// All samples as the memory strategy converts them now, as bytes.
    std::string wholeConversion() const;

    CURLRef url() const;

private:
    StreamCase m_case;
    std::string m_samples;
    TemporaryFolder m_folder;
    std::string m_path;
};

/// Reads all samples with `load`, in slices of a random order (0: in order), as bytes.
std::string readStreamed(marl::IFileData& data, const StreamCase& wanted, std::uint32_t orderSeed);

}  // namespace support
