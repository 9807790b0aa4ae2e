// SPDX-License-Identifier: MIT
/// \file
/// Signals that ask the program to stop, for work that ends in good order.
#pragma once

#include <array>
#include <atomic>
#include <csignal>

namespace marl::tool {

/// Takes the signal of a closing terminal, an impatient user or a `kill` as a wish to stop, for as long as it
/// lives. Signals that the program ignores stay ignored. Two seconds after the first signal system calls that
/// wait begin to be interrupted (EINTR), so that no wait for others goes on for ever; another one that comes
/// a second or more after the first ends the program at once. There is one at a time. [main thread]
class StopSignals {
public:
    /// Throws `std::system_error` when the system has no descriptors left.
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// The first signal that came; 0: none.
    int received() const noexcept;

    /// Can be read from once a signal has come, for `poll`. It belongs to this object.
    int descriptor() const noexcept { return m_descriptor; }

    /// A flag that is true once a signal has come, for as long as this object lives. There is one at a time.
    class Flag {
    public:
        explicit Flag(std::atomic<bool>& flag);
        Flag(const Flag&) = delete;
        Flag& operator=(const Flag&) = delete;
        ~Flag();
    };

private:
    static constexpr std::array kSignals{SIGHUP, SIGINT, SIGTERM};

    int m_descriptor;
    std::array<struct sigaction, kSignals.size()> m_actionsBefore{};
    struct sigaction m_alarmBefore {};
};

/// The exit status of a shell's child that a signal has ended, and of the commands that one has stopped.
constexpr int statusOfSignal(int signal) noexcept {
    return 128 + signal;
}

/// Ends the program by the signal of such a status, so that the shell's loop around it ends too; returns
/// every other status.
int endBySignalOf(int status);

}  // namespace marl::tool
