// SPDX-License-Identifier: MIT
#include "support/PlaybackCosts.h"

#include "Files/AllocationMeter.h"

#include <cerrno>
#include <csignal>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {
namespace {

/// Shared with the copy of the process; null while nothing is counted.
PlaybackCosts* counted = nullptr;

template <typename Function>
int countLock(Function function) {
    if (counted) ++counted->locks;
    return function();
}

void countSystemCall(int, siginfo_t* info, void*) {
    if (counted->systemCalls++ == 0) counted->firstSystemCall = info->si_syscall;
}

/// From here on every system call raises SIGSYS instead, but those that end a handler or the process.
bool trapSystemCalls() {
    struct sigaction handler {};
    handler.sa_sigaction = countSystemCall;
    handler.sa_flags = SA_SIGINFO | SA_NODEFER;
    sock_filter filter[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_rt_sigreturn, 2, 0),
                            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 1, 0),
                            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
                            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program{static_cast<unsigned short>(std::size(filter)), filter};
    return ::sigaction(SIGSYS, &handler, nullptr) == 0 && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

enum Outcome : int { kDone = 0, kNoTrap = 10, kFailed = 11, kThrew = 12 };

int runCounted(const std::function<bool()>& action, PlaybackCosts& costs) {
    if (!trapSystemCalls()) return kNoTrap;
    int outcome = kFailed;
    const AllocationMeter meter;
    counted = &costs;
    try {
        if (action()) outcome = kDone;
    } catch (...) {
        outcome = kThrew;
    }
    counted = nullptr;
    costs.allocations = meter.calls();
    return outcome;
}

PlaybackCosts& sharedCosts() {
    void* const memory =
        ::mmap(nullptr, sizeof(PlaybackCosts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
    return *new (memory) PlaybackCosts;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const PlaybackCosts& costs) {
    return out << costs.allocations << " allocations, " << costs.locks << " locks, " << costs.systemCalls
               << " system calls (the first is " << costs.firstSystemCall << ")";
}

PlaybackCosts playbackCosts(const std::function<bool()>& action) {
    PlaybackCosts& costs = sharedCosts();
    const pid_t child = ::fork();
    if (child == 0) ::_exit(runCounted(action, costs));
    int status = 0;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    const PlaybackCosts result = costs;
    ::munmap(&costs, sizeof costs);
    if (child < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != kDone)
        throw std::runtime_error("the action did not do its work (status " + std::to_string(status) + ")");
    return result;
}

}  // namespace support

// The linker calls these wherever an object of the program says pthread_…, as std::mutex does.
#define MARL_COUNT(name, parameters, arguments)                             \
    extern "C" int __real_##name parameters;                                \
    extern "C" int __wrap_##name parameters {                               \
        return support::countLock([&] { return __real_##name arguments; }); \
    }

MARL_COUNT(pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
MARL_COUNT(pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
MARL_COUNT(pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex))
MARL_COUNT(pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
MARL_COUNT(pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
