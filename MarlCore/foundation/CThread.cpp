// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CThread.h>

#include <cxxabi.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

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
    if (!m_running) return true;
    if (::pthread_equal(m_thread, ::pthread_self()))
        throw CException(kInternalError, "a thread cannot wait for its own end");
    if (askToStop) {
        m_stopRequested.store(true, std::memory_order_release);
        m_stateChanged.notify_all();
        lock.unlock();
        wakeForStop();
        lock.lock();
    }
    const auto ended = [this] { return !m_running; };
    if (timeoutMilliseconds != 0)
        return m_stateChanged.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds), ended);
    m_stateChanged.wait(lock, ended);
    return true;
}

CPThread::~CPThread() {
    if (!isThreadRunning()) return;
    std::fputs("MarlCore: a thread object was destroyed while its thread runs\n", stderr);
    std::abort();
}

void CPThread::createThread() {
    const std::lock_guard lock(m_stateMutex);
    if (m_running) return;
    m_stopRequested.store(false, std::memory_order_release);
    m_failure = nullptr;
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    const int error = ::pthread_create(&m_thread, &attributes, &CPThread::threadMain, this);
    ::pthread_attr_destroy(&attributes);
    if (error != 0) {
        CException failure(kInternalError, error);
        failure.concatMessage("failed to create a thread: %s", std::strerror(error));
        throw failure;
    }
    m_running = true;
}

void CPThread::runWithPriority(double priority, int pauseMilliseconds) {
    setPriority(priority);
    m_pauseMilliseconds.store(pauseMilliseconds < 0 ? kDefaultPause : pauseMilliseconds);
    createThread();
}

void CPThread::setPriority(double priority) noexcept {
    m_priority.store(std::clamp(priority, 0.0, 1.0));
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
    } catch (const abi::__forced_unwind&) {
        throw;  // CThread::exit: the scopes have been left, the thread ends here
    } catch (...) {
        thread->keepFailure(std::current_exception());
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
    m_stateChanged.notify_all();  // under the lock: the object may go as soon as a waiter has it
}

}  // namespace halyard
