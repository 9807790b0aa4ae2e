// SPDX-License-Identifier: MIT
/// \file
/// Reads a file ahead of its use.
#pragma once

#include <MarlCore/Files/streaming/CIORequestThread.h>

#include <condition_variable>
#include <exception>
#include <mutex>

namespace marl::tool {

/// Loads the samples of one streamed file, in order, in a thread of its own: those that are taken now, and
/// about 300,000 more. Once they are taken, those behind them are asked for; so a slow taker holds up the
/// reading. `awaitSamples` is for one thread.
class ReadAhead : public CIORequestThread {
public:
    /// Samples `first` to `end` (exclusive) of `data`, which has a conversion.
    ReadAhead(const IFileDataRef& data, int first, int end);
    ~ReadAhead() override;

    /// Waits until all samples up to `last` are loaded; it never becomes less. Returns what ended the
    /// reading, if that was before: some of them may be there all the same.
    std::exception_ptr awaitSamples(int last);

    void processBuffer(const CIOBuffer* buffer) override;

private:
    void postUpTo(int requests);

    const IAudioSourceRef m_source;
    const int m_first;
    const int m_end;
    int m_posted = 0;  // requests

    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_done = 0;                // requests, guarded by m_mutex
    std::exception_ptr m_failure;  // guarded by m_mutex
};

}  // namespace marl::tool
