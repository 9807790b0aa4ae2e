// SPDX-License-Identifier: MIT
/// \file
/// Locks: a plain one, a scope that holds it, and one that waits for a value.
#pragma once

#include <MarlCore/foundation/CSharedObjectRef.h>
#include <MarlCore/platform/ThreadAnnotations.h>

#include <condition_variable>
#include <mutex>

namespace halyard {

/// A lock for one thread at a time; not recursive. [any thread]
class MARLCORE_EXPORT MARL_CAPABILITY("mutex") CMutex : public CSharedObject {
public:
    void lock() MARL_ACQUIRE() { m_mutex.lock(); }
    void unlock() MARL_RELEASE() { m_mutex.unlock(); }

private:
    std::mutex m_mutex;
};

using CMutexRef = CSharedObjectRef<CMutex>;

/// Holds a lock for the length of a scope. The lock outlives the scope.
class MARL_SCOPED_CAPABILITY CAutoMutex {
public:
    explicit CAutoMutex(CMutex& mutex) MARL_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    CAutoMutex(const CAutoMutex&) = delete;
    CAutoMutex& operator=(const CAutoMutex&) = delete;
    ~CAutoMutex() MARL_RELEASE() { m_mutex.unlock(); }

private:
    CMutex& m_mutex;
};

/// A lock with an integer beside it: threads hand work to each other by setting the value that the other one
/// waits for. [any thread]
class MARLCORE_EXPORT CConditionalMutex : public CSharedObject {
public:
    explicit CConditionalMutex(int value) : m_value(value) {}

    /// Blocks until the lock is free, and returns holding it, whatever the value.
    void lock() { m_mutex.lock(); }

    /// Blocks until the value equals `value`, and returns holding the lock.
    void lockWhenValueSet(int value);

    /// For the holder of the lock: sets the value, releases the lock and wakes every waiter.
    void unlockAndSetValue(int value);

private:
    std::mutex m_mutex;
    std::condition_variable m_valueChanged;
    int m_value;  // guarded by m_mutex
};

}  // namespace halyard
