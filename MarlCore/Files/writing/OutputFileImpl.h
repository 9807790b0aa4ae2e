// SPDX-License-Identifier: MIT
/// \file
/// The file on disk behind a writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace marl {

/// A regular file, open for writing at any place. Every operation throws `halyard::CException` (file error,
/// the code is errno) that names operation and path. [one thread at a time]
class OutputFile {
public:
    /// Creates the file with `head` as its contents. An existing file is an error, EEXIST, or with
    /// `overwrite` replaced by the new one as soon as that holds its head; until then it is left alone. When
    /// this throws, no new file stays behind. Devices and folders are never replaced.
    OutputFile(std::string path, std::span<const std::byte> head, bool overwrite);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// Writes all of `bytes` from byte `offset` on. When it throws, some of them may be there.
    void writeAt(std::int64_t offset, std::span<const std::byte> bytes);

    /// Drops what lies from byte `length` on, as far as the system lets it: for cleaning up after an error.
    void cutTo(std::int64_t length) noexcept;

    /// Returns when contents and, the first time, the file's name are on the disk itself.
    void sync();

    /// Afterwards only the destructor may follow.
    void close();

private:
    void createNew(const std::string& path, std::span<const std::byte> head, unsigned permissions);
    void replace(std::span<const std::byte> head);

    std::string m_path;
    int m_fd = -1;
    bool m_nameIsOnDisk = false;
};

}  // namespace marl
