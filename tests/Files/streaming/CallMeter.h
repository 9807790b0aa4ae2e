// SPDX-License-Identifier: MIT
/// \file
/// Counts what code for an audio thread must not do. Needs AllocationMeter, and the linker's
/// --wrap=pthread_mutex_lock,--wrap=pthread_mutex_trylock,--wrap=pthread_rwlock_rdlock,--wrap=pthread_rwlock_wrlock.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>

namespace support {

struct Calls {
    bool allocates = false;
    int locks = 0;  ///< mutexes and read-write locks that were tried
    bool callsTheSystem = false;

    friend bool operator==(const Calls&, const Calls&) = default;
};

std::ostream& operator<<(std::ostream& stream, const Calls& calls);

/// What `action` does, and all that it calls. It runs twice: here, and before that in a child process which
/// the kernel kills at its first system call. No other thread may run.
Calls callsOf(const std::function<void()>& action);

}  // namespace support
