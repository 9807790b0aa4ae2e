// SPDX-License-Identifier: MIT
#include "CallMeter.h"

#include "Files/AllocationMeter.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int locks = 0;

/// From here on the process may end, and nothing else.
bool forbidSystemCalls() {
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
    };
    const sock_fprog program{std::size(rules), rules};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

bool callsTheSystem(const std::function<void()>& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (!forbidSystemCalls()) ::_exit(1);
        action();
        ::_exit(0);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child)
        throw std::system_error(errno, std::generic_category());
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) return true;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::system_error(ENOSYS, std::generic_category(), "seccomp");
    return false;
}

}  // namespace

namespace support {

std::ostream& operator<<(std::ostream& stream, const Calls& calls) {
    return stream << (calls.allocates ? "allocates, " : "") << calls.locks << " locks"
                  << (calls.callsTheSystem ? ", calls the system" : "");
}

Calls callsOf(const std::function<void()>& action) {
    Calls calls;
    calls.callsTheSystem = callsTheSystem(action);
    locks = 0;
    const AllocationMeter meter;
    action();
    calls.locks = locks;
    calls.allocates = meter.mostLiveBytes() != 0;
    return calls;
}

}  // namespace support

extern "C" {

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_trylock(pthread_mutex_t* mutex);
int __real_pthread_rwlock_rdlock(pthread_rwlock_t* lock);
int __real_pthread_rwlock_wrlock(pthread_rwlock_t* lock);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    ++locks;
    return __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex) {
    ++locks;
    return __real_pthread_mutex_trylock(mutex);
}

int __wrap_pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
    ++locks;
    return __real_pthread_rwlock_rdlock(lock);
}

int __wrap_pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    ++locks;
    return __real_pthread_rwlock_wrlock(lock);
}

}  // extern "C"
