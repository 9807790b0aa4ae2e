// SPDX-License-Identifier: MIT
/// \file
/// Brings an index up to date in the background.
#pragma once

#include <MarlCore/SearchEngine/IndexingState.h>
#include <MarlCore/foundation/CThread.h>

#include <mutex>

namespace marl {

class CSearchEngine;

/// Runs one pass over one index, a batch at a time. The engine outlives it. [any thread], but for `runOnce`.
class MARLCORE_EXPORT CIndexingThread : public halyard::CPThread {
public:
    CIndexingThread(CSearchEngine& engine, const CIndexFileRef& file);
    ~CIndexingThread() override;

    /// One step of the pass; ends the thread after the last. What a step throws ends the pass, and is told by
    /// the status.
    void runOnce() override;

    /// Ends the pass within one batch; what it has done is kept.
    void stop();

    bool isIndexingComplete() const;
    void getBackgroundStatus(SearchIndexingStatus& status) const;
    /// For the thread, and for others once it has ended.
    const IndexingState& getIndexingState() const noexcept { return m_state; }

protected:
    void wakeForStop() override { m_state.cancelled = true; }

private:
    bool step();
    void finish();
    void publish(const std::string& error);

    CSearchEngine& m_engine;
    CIndexFileRef m_file;
    IndexingState m_state;  // the thread's, until it has ended
    bool m_started = false;
    bool m_finished = false;
    mutable std::mutex m_statusMutex;
    SearchIndexingStatus m_status;  // guarded by m_statusMutex
};

}  // namespace marl
