// SPDX-License-Identifier: MIT
#include "FaultyDisk.h"

#include <cerrno>
#include <csignal>

#include <sys/types.h>
#include <unistd.h>

namespace support {
namespace {

struct State {
    FaultyDisk::Fault fault = FaultyDisk::Fault::kNone;
    int atCall = 0;
    int calls = 0;
} state;

ssize_t writeThrough(int fd, const void* bytes, size_t count, off_t offset) {
    if (::lseek(fd, offset, SEEK_SET) < 0) return -1;
    return ::write(fd, bytes, count);
}

ssize_t failWith(int error) {
    errno = error;
    return -1;
}

ssize_t writeWithFault(int fd, const void* bytes, size_t count, off_t offset) {
    ++state.calls;
    if (state.fault == FaultyDisk::Fault::kHalfThenError && state.calls == state.atCall + 1)
        return failWith(ENOSPC);
    if (state.fault == FaultyDisk::Fault::kFull && state.calls > state.atCall) return failWith(ENOSPC);
    if (state.calls != state.atCall) return writeThrough(fd, bytes, count, offset);
    switch (state.fault) {
        case FaultyDisk::Fault::kError:
        case FaultyDisk::Fault::kFull:
            return failWith(ENOSPC);
        case FaultyDisk::Fault::kInterrupted:
            return failWith(EINTR);
        case FaultyDisk::Fault::kHalfThenError:
            return writeThrough(fd, bytes, (count + 1) / 2, offset);
        case FaultyDisk::Fault::kShort:
            return writeThrough(fd, bytes, 1, offset);
        case FaultyDisk::Fault::kKill:
            ::raise(SIGKILL);
            break;
        case FaultyDisk::Fault::kNone:
            break;
    }
    return writeThrough(fd, bytes, count, offset);
}

}  // namespace

FaultyDisk::FaultyDisk(Fault fault, int atCall) {
    state = {fault, atCall, 0};
}

FaultyDisk::~FaultyDisk() {
    state = {};
}

int FaultyDisk::calls() const noexcept {
    return state.calls;
}

}  // namespace support

// Preferred to the C library's by the linker, in this program only. lseek and write do the same work here,
// where nothing else uses the file's position.
extern "C" ssize_t pwrite(int fd, const void* bytes, size_t count, off_t offset) {
    return support::writeWithFault(fd, bytes, count, offset);
}
