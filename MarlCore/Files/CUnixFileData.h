// SPDX-License-Identifier: MIT
/// \file
/// The byte-level reader of a local file.
#pragma once

#include <MarlCore/Files/IFileData.h>
#include <MarlCore/foundation/CURL.h>

#include <array>

namespace marl {

/// Reads a file through POSIX calls. Small reads are served from two windows onto the file, so that a parser
/// that walks the chunks in front of and behind the samples costs a system call or two; the read position is
/// kept here, not by the system. [one thread at a time]
class MARLCORE_EXPORT CUnixFileData : public IFileData {
public:
    /// Opens `url` for reading; a missing file is created empty when `create` is true. Only regular files are
    /// accepted: opening a pipe must not wait for its writer.
    /// Throws "Error: fileURL is null!", "failed to open file '%s'" (the path; the code is errno) and "failed
    /// to call ::fstat successfully for file '%s'".
    CUnixFileData(const CURLRef& url, bool create, bool dataIsBigEndian);
    ~CUnixFileData() override;

    std::string read4Char() override;
    std::uint32_t readUInt32() override;
    /// Throws "failed reading file".
    long long readBytes(long long count, char* buffer) override;
    long long advance(long long count) override { return seek(count, true); }
    long long seek(long long offset, bool relative) override;
    void rewindToStart() override { m_position = 0; }
    long long currentMark() override { return m_position; }
    long long getFileLength() override { return m_stat.length; }
    bool atEOF() override { return m_stat.length <= m_position; }
    std::int64_t getFileModificationDate() override { return m_stat.modificationDate; }

protected:
    /// Reads from byte `offset` on until `bytes` is full or the file ends; returns how many bytes there were.
    /// The read position stays.
    std::size_t readAt(long long offset, std::span<std::byte> bytes) const;

private:
    /// A stretch of the file that has been read. 4 KiB: the chunks in front of the samples fit.
    struct Window {
        static constexpr std::size_t kSize = 4096;
        long long start = 0;
        std::size_t size = 0;  // bytes that are valid
        std::array<std::byte, kSize> bytes;

        bool holds(long long offset) const noexcept {
            return offset >= start && offset - start < static_cast<long long>(size);
        }
    };

    /// Of the file when it was opened; never refreshed.
    struct FileStat {
        long long length = 0;               // bytes
        std::int64_t modificationDate = 0;  // see getFileModificationDate
    };

    std::size_t readSome(std::span<std::byte> bytes);
    /// A window that begins at or before `offset` and holds the byte there, or an empty one at the end.
    const Window& windowAt(long long offset);

    int m_fd = 0;
    FileStat m_stat;
    long long m_position = 0;
    std::array<Window, 2> m_windows;
    std::size_t m_lastWindow = 0;  // the one used last; the other one is refilled
};

}  // namespace marl
