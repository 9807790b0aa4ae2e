// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CIndexingThread.h>

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <exception>

namespace marl {

CIndexingThread::CIndexingThread(CSearchEngine& engine, const CIndexFileRef& file)
    : m_engine(engine), m_file(file) {
    file->enableMutexControl(true);  // before the thread runs: a search that has begun waits for nobody
    const CIndexingMutexHelper mutex(*file);
    m_status.rootDirectory = file->getRootDirectory();
}

CIndexingThread::~CIndexingThread() {
    stop();
}

void CIndexingThread::runOnce() {
    bool goesOn = false;
    std::string error;
    try {
        goesOn = step();
    } catch (const std::exception& exception) {
        error = exception.what();
    }
    if (!goesOn) finish();
    publish(error);
    if (!goesOn) exit();
}

/// False after the last step.
bool CIndexingThread::step() {
    if (m_started) return m_engine.indexOnce(m_state);
    m_engine.startIndexing(m_file, m_state);
    m_started = true;
    return true;
}

/// Writes what the pass has found, however it ended. [the thread, or whoever stopped it]
void CIndexingThread::finish() {
    if (m_finished) return;
    m_finished = true;
    if (!m_started) return;
    try {
        m_engine.finishIndexing(m_state);
    } catch (const std::exception& exception) {
        publish(exception.what());
    }
}

void CIndexingThread::stop() {
    sleepUntilThreadExits(true, 0);
    finish();
    publish({});
}

void CIndexingThread::publish(const std::string& error) {
    const std::lock_guard lock(m_statusMutex);
    SearchIndexingStatus status = m_state.status;
    status.error = m_status.error.empty() ? error : m_status.error;
    status.rootDirectory = m_status.rootDirectory;
    status.isFinished = m_finished || !status.error.empty();
    m_status = status;
}

bool CIndexingThread::isIndexingComplete() const {
    const std::lock_guard lock(m_statusMutex);
    return m_status.isFinished && m_status.isComplete;
}

void CIndexingThread::getBackgroundStatus(SearchIndexingStatus& status) const {
    const std::lock_guard lock(m_statusMutex);
    status = m_status;
}

}  // namespace marl
