// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CThread.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace halyard {
namespace {

constexpr double kUsualPriority = 0.5;
constexpr int kLowestNice = 19;

/// Best effort: without the right to real-time scheduling the thread runs with the usual priority.
void applyPriority(double priority) noexcept {
    if (priority > kUsualPriority) {
        const int lowest = ::sched_get_priority_min(SCHED_RR), highest = ::sched_get_priority_max(SCHED_RR);
        const double share = (priority - kUsualPriority) / (1 - kUsualPriority);
        sched_param parameters{};
        parameters.sched_priority = lowest + static_cast<int>(share * (highest - lowest) / 2);
        ::pthread_setschedparam(::pthread_self(), SCHED_RR, &parameters);
    } else if (priority < kUsualPriority) {
        // On Linux a nice value belongs to a thread, and 0 names the calling one.
        ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()),
                      static_cast<int>((kUsualPriority - priority) / kUsualPriority * kLowestNice));
    }
}

}  // namespace

void CThread::exit() {
    ::pthread_exit(nullptr);
}

bool CThread::isThreadRunning() const {
    const std::lock_guard lock(m_stateMutex);
    return m_running;
}

bool CThread::sleepUntilThreadExits(bool askToStop, unsigned int timeoutMilliseconds) {
    std::unique_lock lock(m_stateMutex);
    if (m_running && ::pthread_equal(m_thread, ::pthread_self()))
        throw CException(kInternalError, "a thread cannot wait for its own end");
    const unsigned waitedFor = m_starts;
    if (m_running && askToStop) {
        m_stopRequested.store(true, std::memory_order_release);
        m_stateChanged.notify_all();
        lock.unlock();
        wakeForStop();
        lock.lock();
    }
    // Another caller may have started the thread again before this one wakes.
    const auto ended = [this, waitedFor] { return !m_running || m_starts != waitedFor; };
    if (timeoutMilliseconds == 0)
        m_stateChanged.wait(lock, ended);
    else if (!m_stateChanged.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds), ended))
        return false;
    joinEnded();
    return true;
}

void CThread::joinEnded() noexcept {
    if (m_running || !m_joinable) return;
    // What is left of the thread takes no lock of this object, so that joining under the lock is short.
    ::pthread_join(m_thread, nullptr);
    m_joinable = false;
}

CPThread::~CPThread() {
    const std::lock_guard lock(m_stateMutex);
    joinEnded();
    if (!m_running) return;
    std::fputs("MarlCore: a thread object was destroyed while its thread runs\n", stderr);
    std::abort();
}

void CPThread::createThread() {
    const std::lock_guard lock(m_stateMutex);
    if (m_running) return;
    joinEnded();
    m_stopRequested.store(false, std::memory_order_release);
    m_failure = nullptr;
    const int error = ::pthread_create(&m_thread, nullptr, &CPThread::threadMain, this);
    if (error != 0) {
        CException failure(kInternalError, error);
        failure.concatMessage("failed to create a thread: %s", std::strerror(error));
        throw failure;
    }
    m_running = m_joinable = true;
    ++m_starts;
}

void CPThread::runWithPriority(double priority, int pauseMilliseconds) {
    setPriority(priority);
    m_pauseMilliseconds.store(pauseMilliseconds < 0 ? kDefaultPause : pauseMilliseconds);
    createThread();
}

void CPThread::setPriority(double priority) noexcept {
    m_priority.store(std::isnan(priority) ? kUsualPriority : std::clamp(priority, 0.0, 1.0));
}

std::exception_ptr CPThread::getFailure() const {
    const std::lock_guard lock(m_stateMutex);
    return m_failure;
}

void* CPThread::threadMain(void* self) {
    auto* const thread = static_cast<CPThread*>(self);
    struct EndMark {
        CPThread* thread;
        ~EndMark() { thread->markEnded(); }
    } endMark{thread};
    try {
        applyPriority(thread->getPriority());
        thread->runUntilStopped();
    } catch (...) {
        std::exception_ptr failure = std::current_exception();
        // No C++ exception: CThread::exit is leaving the scopes, and must be let through.
        if (!failure) throw;
        thread->keepFailure(std::move(failure));
    }
    return nullptr;
}

void CPThread::runUntilStopped() {
    while (!stopRequested()) {
        runOnce();
        pauseBetweenRuns();
    }
}

void CPThread::pauseBetweenRuns() {
    const int pause = m_pauseMilliseconds.load();
    if (pause == 0) return;
    std::unique_lock lock(m_stateMutex);
    m_stateChanged.wait_for(lock, std::chrono::milliseconds(pause), [this] { return stopRequested(); });
}

void CPThread::keepFailure(std::exception_ptr failure) {
    const std::lock_guard lock(m_stateMutex);
    m_failure = std::move(failure);
}

void CPThread::markEnded() noexcept {
    const std::lock_guard lock(m_stateMutex);
    m_running = false;
    m_stateChanged.notify_all();
}

}  // namespace halyard
