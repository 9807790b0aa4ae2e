// SPDX-License-Identifier: MIT
/// \file
/// Sources and data for the request thread, and what waits for threads.
#pragma once

#include <MarlCore/Files/streaming/CSharedOffline.h>
#include <MarlCore/Files/streaming/IAudioSource.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace support {

/// Data in slices, which remembers what was loaded. [any thread]
class SlicedData : public marl::COfflineFileData {
public:
    static constexpr int kSamplesInSlice = 100;

    explicit SlicedData(int samples) : COfflineFileData(true), m_samples(samples) {}

    bool isSampleRangeLoaded(int first, int last) override {
        const std::lock_guard lock(m_mutex);
        for (int slice = first / kSamplesInSlice; slice <= last / kSamplesInSlice; ++slice)
            if (!m_loaded.contains(slice)) return false;
        return true;
    }

    const void* readSamples(int first, int last, int* outLast, bool load) override {
        const std::lock_guard lock(m_mutex);
        ++m_reads;
        if (m_beforeRead) m_beforeRead();
        *outLast = first;
        if (first >= m_samples || !load) return nullptr;
        const int slice = first / kSamplesInSlice;
        m_loaded.insert(slice);
        *outLast = std::min({last, m_samples - 1, (slice + 1) * kSamplesInSlice - 1});
        return this;
    }

    std::set<int> loaded() const {
        const std::lock_guard lock(m_mutex);
        return m_loaded;
    }
    int reads() const {
        const std::lock_guard lock(m_mutex);
        return m_reads;
    }
    /// Called in every read; may throw.
    void beforeRead(std::function<void()> action) {
        const std::lock_guard lock(m_mutex);
        m_beforeRead = std::move(action);
    }

private:
    const int m_samples;
    mutable std::mutex m_mutex;
    std::set<int> m_loaded;
    int m_reads = 0;
    std::function<void()> m_beforeRead;
};

/// Says in which thread it went.
class SlicedSource : public marl::IAudioSource {
public:
    explicit SlicedSource(int samples, std::thread::id* diedIn = nullptr)
        : m_data(new SlicedData(samples)), m_diedIn(diedIn) {}
    ~SlicedSource() override {
        if (m_diedIn) *m_diedIn = std::this_thread::get_id();
    }

    marl::IFileDataRef getFileData() override { return m_data; }
    SlicedData& data() const { return *m_data; }

private:
    halyard::CSharedObjectRef<SlicedData> m_data;
    std::thread::id* m_diedIn;
};

using SlicedSourceRef = halyard::CSharedObjectRef<SlicedSource>;

/// Lets other threads run until `condition` is true: a test that waits in vain meets its time-out.
template <class Condition>
void waitUntil(Condition condition) {
    while (!condition()) std::this_thread::yield();
}

}  // namespace support
