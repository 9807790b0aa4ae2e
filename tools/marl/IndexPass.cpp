// SPDX-License-Identifier: MIT
#include "marl/IndexPass.h"

#include "marl/Output.h"
#include "marl/ProgressBar.h"
#include "marl/StopSignals.h"
#include "marl/TerminalText.h"

#include <MarlCore/foundation/CException.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <ostream>
#include <sstream>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace marl::tool {
namespace {

namespace fs = std::filesystem;

using halyard::CException;

/// What the library prints on standard output goes to standard error while this lives: results alone go to
/// standard output.
class LibraryMessages {
public:
    LibraryMessages() : m_output(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)) {
        std::fflush(stdout);
        if (m_output >= 0) ::dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;
    ~LibraryMessages() {
        std::fflush(stdout);
        if (m_output < 0) return;
        ::dup2(m_output, STDOUT_FILENO);
        ::close(m_output);
    }

private:
    const int m_output;
};

/// Before an index is made for it.
void requireIndexable(const std::string& root) {
    if (root.size() > CIndexFileHeader::kLongestRoot)
        throw std::system_error(ENAMETOOLONG, std::generic_category());
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(root.c_str()), ::closedir);
    if (!folder) throw std::system_error(errno, std::generic_category());
}

bool isIndexable(const std::string& root) {
    try {
        requireIndexable(root);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

/// Whether the library threw it for the system's error `code`.
bool isFailure(const std::exception& exception, int code) noexcept {
    const auto* const failure = dynamic_cast<const CException*>(&exception);
    return failure && failure->getCode() == code;
}

/// Whether the library threw it since the system refused something.
bool isRefusal(const std::exception& exception) noexcept {
    const auto* const failure = dynamic_cast<const CException*>(&exception);
    return failure && failure->getType() == halyard::kFileIOError && failure->getCode() != 0;
}

/// Reasons that name their file once more lose the name.
std::string reasonOf(const PathProblem& problem) {
    const std::string name = problem.path + ": ";
    return explained(problem.reason.starts_with(name) ? problem.reason.substr(name.size()) : problem.reason);
}

bool hasNews(const SearchIndexingStatus& status) noexcept {
    return status.filesAdded + status.filesUpdated + status.filesReturned + status.filesGone > 0;
}

constexpr TextTable::Column kColumns[] = {{"added", 7, true},  {"updated", 7, true}, {"unchanged", 9, true},
                                          {"gone", 7, true},   {"back", 7, true},    {"refused", 7, true},
                                          {"seconds", 8, true}};

}  // namespace

PassEnd IndexPasses::run(const std::string& root, bool isAnew) {
    m_root = root;
    m_told.clear();
    const PassEnd end = pass(isAnew);
    m_toldBefore[root] = m_told;
    return end;
}

PassEnd IndexPasses::pass(bool isAnew) {
    try {
        requireIndexable(m_root);
        return passOverUsableIndex(isAnew);
    } catch (const std::exception& exception) {
        return reportFailure(exception);
    }
}

/// Begins again when the index turns out to be damaged, or gone by another process, since it was loaded. Each
/// of many processes that make it anew at the same time may take it away from this one.
PassEnd IndexPasses::passOverUsableIndex(bool isAnew) {
    constexpr int kMostAttempts = 20;
    for (int attempt = 1;; ++attempt) {
        try {
            return tryPass(isAnew && attempt == 1);
        } catch (const CException& exception) {
            const bool isGone = exception.getCode() == ESTALE;
            if (attempt == kMostAttempts || (!isGone && exception.getCode() != EUCLEAN)) throw;
            if (isGone) m_engine.removeIndexFile(m_engine.findIndexFileForDirectory(m_root));
        }
    }
}

PassEnd IndexPasses::tryPass(bool isAnew) {
    const auto begin = std::chrono::steady_clock::now();
    IndexingState state;
    runEngine(readyIndex(isAnew), state);
    reportProblems(state);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    if (!m_options.isQuiet || hasNews(state.status)) printRow(state.status, seconds.count());
    if (state.status.isComplete)
        return state.report.unreadableFolders.empty() ? PassEnd::kComplete : PassEnd::kPartly;
    tell(m_root, "stopped; what was done is kept");
    return PassEnd::kStopped;
}

/// The index of the folder, fit for a pass.
CIndexFileRef IndexPasses::readyIndex(bool isAnew) {
    CIndexFileRef file = m_engine.findIndexFileForDirectory(m_root);
    const bool isDamaged = file && file->getState() == kIndexIsDamaged;
    if (isDamaged) tell(m_root, "note: its index is damaged, and is made again from the audio files");
    if (file && (isDamaged || isAnew)) {
        m_engine.removeIndexFile(file);
        file = {};
    }
    return file ? file : m_engine.createIndexFile(m_root);
}

void IndexPasses::runEngine(const CIndexFileRef& file, IndexingState& state) {
    const StopSignals::Flag cancelling(state.cancelled);
    const LibraryMessages messages;
    ProgressBar bar(m_options.isProgressShown, fs::path(m_root).filename().string(), m_err);
    bar.show(0, 0);
    m_engine.index(file, state, [&](const SearchIndexingStatus& status) {
        bar.show(status.filesDone, status.filesToDo);
        return true;
    });
}

void IndexPasses::reportProblems(const IndexingState& state) {
    for (const PathProblem& problem : state.problems) tell(problem.path, reasonOf(problem));
    for (const PathProblem& folder : state.report.unreadableFolders)
        tell(folder.path, "cannot be read, what is known of its files stays: " + folder.reason);
    if (state.report.danglingLinks > 0)
        tell(m_root, "note: " + counted(state.report.danglingLinks, "dangling link"));
}

void IndexPasses::printRow(const SearchIndexingStatus& status, double seconds) {
    if (!m_table) m_table.emplace(m_out, kColumns, "folder");
    m_table->addRow({std::to_string(status.filesAdded), std::to_string(status.filesUpdated),
                     std::to_string(status.filesUnchanged), std::to_string(status.filesGone),
                     std::to_string(status.filesReturned), std::to_string(status.filesRefused),
                     formatted("%.2f", seconds)},
                    terminalText(m_root));
    m_out.flush();
}

PassEnd IndexPasses::reportFailure(const std::exception& exception) {
    if (isFailure(exception, EBUSY)) {
        tell(m_root, "another process is indexing it");
        return PassEnd::kBusy;
    }
    if (isFailure(exception, ECANCELED)) {
        tell(m_root, "stopped; another process holds its index, so that not all that was done could be kept");
        return PassEnd::kStopped;
    }
    // The files of the folder are told one by one. What else there is to refuse are the indexes.
    if (isRefusal(exception) && isIndexable(m_root))
        tellOfIndexes(messageOf(exception, "indexes cannot be written"));
    else
        tell(m_root, messageOf(exception, "cannot be indexed"));
    return PassEnd::kFailed;
}

/// Prints the line unless it was the last of its kind: all folders have their indexes there.
void IndexPasses::tellOfIndexes(const std::string& message) {
    if (std::exchange(m_toldOfIndexes, message) != message)
        reportError(m_err, CSearchEngine::getIndexDirectory(), message);
}

/// Prints the line unless the last pass over this folder gave it too.
void IndexPasses::tell(const std::string& path, const std::string& message) {
    std::ostringstream line;
    reportError(line, path, message);
    if (m_told.insert(line.str()).second && !m_toldBefore[m_root].contains(line.str())) m_err << line.str();
}

}  // namespace marl::tool
