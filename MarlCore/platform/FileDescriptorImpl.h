// SPDX-License-Identifier: MIT
/// \file
/// A file descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

namespace platform {

/// Owns a descriptor, or nothing where it is negative: what `open` returned can be handed over unseen.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd) noexcept : m_fd(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }

    int get() const noexcept { return m_fd; }

private:
    const int m_fd;
};

}  // namespace platform
