// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/WholeTransfersImpl.h>

#include <cerrno>

#include <unistd.h>

namespace marl {

bool writeWholeAt(int descriptor, std::span<const std::byte> bytes, std::int64_t offset) noexcept {
    while (!bytes.empty()) {
        const ssize_t count = ::pwrite(descriptor, bytes.data(), bytes.size(), offset);
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) errno = ENOSPC;
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        offset += count;
    }
    return true;
}

std::int64_t readWholeAt(int descriptor, std::span<std::byte> bytes, std::int64_t offset) noexcept {
    std::int64_t done = 0;
    while (!bytes.empty()) {
        const ssize_t count = ::pread(descriptor, bytes.data(), bytes.size(), offset + done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return -1;
        if (count == 0) break;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        done += count;
    }
    return done;
}

}  // namespace marl
