// SPDX-License-Identifier: MIT
/// \file
/// Files that fail on request: takes the place of pread in the test program that it is linked into.
#pragma once

namespace support {

/// While it lives, the calls of pread are counted, from 1 on, and one of them goes wrong. One at a time; the
/// reads may come from any threads.
class FaultyReads {
public:
    enum class Fault {
        kNone,
        kError,        ///< nothing is read, and errno is EIO
        kInterrupted,  ///< nothing is read, and errno is EINTR
        kShort,        ///< one byte is read, which is no error
        kSlow          ///< waits for `goOn`
    };

    explicit FaultyReads(Fault fault, int atCall = 1);
    FaultyReads(const FaultyReads&) = delete;
    FaultyReads& operator=(const FaultyReads&) = delete;
    ~FaultyReads();

    int calls() const noexcept;
    /// For `kSlow`: returns when the call waits.
    void waitForCall() const noexcept;
    void goOn() noexcept;
};

}  // namespace support
