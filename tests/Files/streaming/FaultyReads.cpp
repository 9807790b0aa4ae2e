// SPDX-License-Identifier: MIT
#include "FaultyReads.h"

#include <atomic>
#include <cerrno>

#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

namespace support {
namespace {

struct State {
    std::atomic<FaultyReads::Fault> fault{FaultyReads::Fault::kNone};
    std::atomic<int> atCall{0};
    std::atomic<int> calls{0};
    std::atomic<bool> goesOn{false};
} state;

ssize_t readThrough(int fd, void* bytes, size_t count, off_t offset) {
    const iovec block{bytes, count};
    return ::preadv(fd, &block, 1, offset);
}

ssize_t readWithFault(int fd, void* bytes, size_t count, off_t offset) {
    const int call = ++state.calls;
    state.calls.notify_all();
    if (call != state.atCall) return readThrough(fd, bytes, count, offset);
    switch (state.fault) {
        case FaultyReads::Fault::kError:
            errno = EIO;
            return -1;
        case FaultyReads::Fault::kInterrupted:
            errno = EINTR;
            return -1;
        case FaultyReads::Fault::kShort:
            return readThrough(fd, bytes, 1, offset);
        case FaultyReads::Fault::kSlow:
            state.goesOn.wait(false);
            break;
        case FaultyReads::Fault::kNone:
            break;
    }
    return readThrough(fd, bytes, count, offset);
}

}  // namespace

FaultyReads::FaultyReads(Fault fault, int atCall) {
    state.calls = 0;
    state.goesOn = false;
    state.atCall = atCall;
    state.fault = fault;
}

FaultyReads::~FaultyReads() {
    goOn();
    state.fault = Fault::kNone;
    state.atCall = 0;
}

int FaultyReads::calls() const noexcept {
    return state.calls;
}

void FaultyReads::waitForCall() const noexcept {
    for (int calls = state.calls; calls < state.atCall; calls = state.calls) state.calls.wait(calls);
}

void FaultyReads::goOn() noexcept {
    state.goesOn = true;
    state.goesOn.notify_all();
}

}  // namespace support

// Preferred to the C library's by the linker, in this program only.
extern "C" ssize_t pread(int fd, void* bytes, size_t count, off_t offset) {
    return support::readWithFault(fd, bytes, count, offset);
}
