// SPDX-License-Identifier: MIT
#include "marl/StopSignals.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <limits>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace marl::tool {
namespace {

// What the signal handler touches.
std::atomic<int> g_received{0};
std::atomic<std::int32_t> g_receivedAt{0};  // seconds of the steady clock; before: the end of time
std::atomic<int> g_descriptor{-1};
std::atomic<std::atomic<bool>*> g_flag{nullptr};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<std::int32_t>::is_always_lock_free &&
                  std::atomic<bool>::is_always_lock_free &&
                  std::atomic<std::atomic<bool>*>::is_always_lock_free,
              "a signal handler uses them");

constexpr unsigned kPatience = 2;  // seconds

/// Counted from the start of the machine, so 32 bits do: every processor has atomics of that width.
std::int32_t secondsNow() noexcept {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int32_t>(now.tv_sec);
}

extern "C" void noteStop(int signal) {
    const int errnoBefore = errno;
    int none = 0;
    if (g_received.compare_exchange_strong(none, signal)) {
        g_receivedAt = secondsNow();
        ::alarm(kPatience);
    } else if (secondsNow() - g_receivedAt > 1) {  // one wish may come twice: by the terminal and a parent
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    }
    if (std::atomic<bool>* const flag = g_flag.load()) *flag = true;
    const std::uint64_t one = 1;
    if (::write(g_descriptor, &one, sizeof one) < 0) errno = errnoBefore;  // it can be read from already
    errno = errnoBefore;
}

/// A wait that begins just after this came is interrupted by the next one.
extern "C" void interruptWaits(int) {
    ::alarm(1);
}

int newEventDescriptor() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category());
    return descriptor;
}

}  // namespace

StopSignals::StopSignals() : m_descriptor(newEventDescriptor()) {
    g_received = 0;
    g_receivedAt = std::numeric_limits<std::int32_t>::max();
    g_descriptor = m_descriptor;
    struct sigaction action {};
    action.sa_handler = interruptWaits;
    ::sigaction(SIGALRM, &action, &m_alarmBefore);
    action.sa_handler = noteStop;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        ::sigaction(kSignals[i], nullptr, &m_actionsBefore[i]);
        if (m_actionsBefore[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &action, nullptr);
    }
}

StopSignals::~StopSignals() {
    ::alarm(0);
    ::sigaction(SIGALRM, &m_alarmBefore, nullptr);
    for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &m_actionsBefore[i], nullptr);
    g_descriptor = -1;
    ::close(m_descriptor);
}

int StopSignals::received() const noexcept {
    return g_received;
}

StopSignals::Flag::Flag(std::atomic<bool>& flag) {
    g_flag = &flag;
    if (g_received != 0) flag = true;
}

StopSignals::Flag::~Flag() {
    g_flag = nullptr;
}

int endBySignalOf(int status) {
    if (status > statusOfSignal(0)) {
        ::signal(status - statusOfSignal(0), SIG_DFL);
        ::raise(status - statusOfSignal(0));
    }
    return status;
}

}  // namespace marl::tool
