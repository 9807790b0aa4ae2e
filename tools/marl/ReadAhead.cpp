// SPDX-License-Identifier: MIT
#include "marl/ReadAhead.h"

#include <algorithm>

namespace marl::tool {
namespace {

constexpr int kSamplesInRequest = 16384;  // one slice, or two
constexpr int kRequestsAhead = 18;
/// Room for those ahead, the one that is waited for, and one that is done but not out of the ring yet.
constexpr int kRing = kRequestsAhead + 2;

class FileSource : public IAudioSource {
public:
    explicit FileSource(const IFileDataRef& data) : m_data(data) {}
    IFileDataRef getFileData() override { return m_data; }

private:
    IFileDataRef m_data;
};

}  // namespace

ReadAhead::ReadAhead(const IFileDataRef& data, int first, int end)
    : CIORequestThread(kRing), m_source(new FileSource(data)), m_first(first), m_end(end) {
    runWithPriority(0.5, 0);
}

ReadAhead::~ReadAhead() {
    stopProcessing();
    sleepUntilThreadExits(true, 0);
}

std::exception_ptr ReadAhead::awaitSamples(int last) {
    const int wanted = (last - m_first) / kSamplesInRequest + 1;
    if (isThreadRunning()) postUpTo(wanted + kRequestsAhead);
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_done >= wanted || m_failure; });
    return m_done < wanted ? m_failure : nullptr;
}

void ReadAhead::postUpTo(int requests) {
    for (; m_posted < requests; ++m_posted) {
        const long long first = m_first + static_cast<long long>(m_posted) * kSamplesInRequest;
        if (first >= m_end) return;
        const auto last = static_cast<int>(std::min<long long>(first + kSamplesInRequest, m_end) - 1);
        // 0, 0 would ask for the whole stream.
        postRequest(m_source, static_cast<int>(first), std::max(last, 1));
    }
}

void ReadAhead::processBuffer(const CIOBuffer* buffer) {
    std::exception_ptr failure;
    try {
        CIORequestThread::processBuffer(buffer);
    } catch (...) {
        failure = std::current_exception();
    }
    {
        const std::lock_guard lock(m_mutex);
        if (!failure) ++m_done;
        m_failure = failure;
    }
    m_changed.notify_one();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace marl::tool
