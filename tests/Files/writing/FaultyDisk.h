// SPDX-License-Identifier: MIT
/// \file
/// A disk that fails on request: takes the place of pwrite in the test program that it is linked into.
#pragma once

namespace support {

/// While it lives, the calls of pwrite are counted, from 1 on, and one of them goes wrong, or all from there
/// on. One at a time, and for one thread.
class FaultyDisk {
public:
    enum class Fault {
        kNone,
        kError,          ///< nothing is written, and errno is ENOSPC
        kFull,           ///< nothing is written any more, and errno is ENOSPC
        kHalfThenError,  ///< half of the bytes are written; the next call gives the error
        kInterrupted,    ///< nothing is written, and errno is EINTR
        kShort,          ///< one byte is written, which is no error
        kKill            ///< the process dies before anything is written, by SIGKILL
    };

    explicit FaultyDisk(Fault fault, int atCall = 0);
    FaultyDisk(const FaultyDisk&) = delete;
    FaultyDisk& operator=(const FaultyDisk&) = delete;
    ~FaultyDisk();

    int calls() const noexcept;
};

}  // namespace support
