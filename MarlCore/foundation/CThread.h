// SPDX-License-Identifier: MIT
/// \file
/// Threads that run a piece of work again and again until they are asked to stop.
#pragma once

#include <MarlCore/foundation/CSharedObjectRef.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>

#include <pthread.h>

namespace halyard {

/// The life of one thread: running or not, and how to wait for its end. [any thread]
class MARLCORE_EXPORT CThread : public CSharedObject {
public:
    /// Ends the calling thread, whichever it is, after running the destructors of its scopes.
    [[noreturn]] static void exit();

    bool isThreadRunning() const;

    /// Blocks until the thread has ended and left nothing behind, and returns true; at once when none runs.
    /// A thread that is started again in the meantime is not waited for.
    /// `askToStop`: ask it first to end after the run that is under way; otherwise only wait.
    /// `timeoutMilliseconds`: give up after that time and return false; 0 waits without a limit.
    /// Throws `CException` (internal error) when the thread itself calls it.
    bool sleepUntilThreadExits(bool askToStop, unsigned int timeoutMilliseconds);

protected:
    CThread() = default;

    /// True once the thread has been asked to stop. A long run looks at it between two steps.
    bool stopRequested() const noexcept { return m_stopRequested.load(std::memory_order_acquire); }

    /// Called in the thread that asks this one to stop, after `stopRequested` has become true. A class whose
    /// run can block wakes it here.
    virtual void wakeForStop() {}

    /// For the holder of `m_stateMutex`: takes the ended thread, if there is one, out of the system.
    void joinEnded() noexcept;

    mutable std::mutex m_stateMutex;
    std::condition_variable m_stateChanged;
    bool m_running = false;   // guarded by m_stateMutex
    bool m_joinable = false;  // guarded by m_stateMutex; a thread was started and has not been joined
    unsigned m_starts = 0;    // guarded by m_stateMutex; tells one started thread from the next
    pthread_t m_thread{};     // guarded by m_stateMutex; valid while m_joinable
    std::atomic<bool> m_stopRequested{false};
};

/// A POSIX thread that calls `runOnce` again and again, with a pause between two runs, until it is stopped or
/// a run throws. The class that derives from this one stops the thread in its own destructor
/// (`sleepUntilThreadExits(true, 0)`), before its members go; a thread that still runs in the destructor of
/// this class ends the process.
class MARLCORE_EXPORT CPThread : public CThread {
public:
    /// The pause that -1 asks for, in milliseconds: an idle thread costs next to nothing, and work waits no
    /// longer than a small audio buffer lasts.
    static constexpr int kDefaultPause = 5;

    ~CPThread() override;

    /// Starts the thread; does nothing while it runs. Throws `CException` (internal error, the code is errno)
    /// when the system makes no thread. A thread that ended may be started again.
    virtual void createThread();

    /// `createThread` with a priority (see `setPriority`) and the pause between two runs in milliseconds, 0
    /// or more; -1 is `kDefaultPause`.
    void runWithPriority(double priority, int pauseMilliseconds);

    /// One piece of work. What it throws ends the thread and is kept for `getFailure`. [the thread]
    virtual void runOnce() = 0;

    virtual double getPriority() const noexcept { return m_priority.load(); }

    /// 0 to 1, clamped; 0.5 is the usual priority (a NaN stands for it), taken over at the next start. Above
    /// it the thread is scheduled round robin in real time where the system allows that, below it with a
    /// positive nice value.
    virtual void setPriority(double priority) noexcept;

    /// What ended the last run, or null when nothing did. Starting the thread again clears it. [any thread]
    std::exception_ptr getFailure() const;

private:
    static void* threadMain(void* self) noexcept(false);
    void runUntilStopped();
    void keepFailure(std::exception_ptr failure);
    void pauseBetweenRuns();
    void markEnded() noexcept;

    std::atomic<double> m_priority{0.5};
    std::atomic<int> m_pauseMilliseconds{kDefaultPause};
    std::exception_ptr m_failure;  // guarded by m_stateMutex
};

}  // namespace halyard
