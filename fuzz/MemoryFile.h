// SPDX-License-Identifier: MIT
/// \file
/// What the fuzz targets share: a file in memory, and a check that ends the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// One file in memory, used again and again; it opens by path like any other file.
class MemoryFile {
public:
    MemoryFile() : m_fd(::memfd_create("fuzz", MFD_CLOEXEC)) { require(m_fd >= 0, "memfd_create"); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(m_fd); }

    void assign(const std::uint8_t* bytes, std::size_t size) const {
        require(::ftruncate(m_fd, 0) == 0, "ftruncate");
        require(::pwrite(m_fd, bytes, size, 0) == static_cast<ssize_t>(size), "pwrite");
    }
    std::string path() const { return "/proc/self/fd/" + std::to_string(m_fd); }

private:
    int m_fd;
};

}  // namespace fuzz
