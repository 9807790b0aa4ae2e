// SPDX-License-Identifier: MIT
#include "marl/Index.h"

#include "marl/IndexDirectory.h"
#include "marl/IndexPass.h"
#include "marl/Output.h"
#include "marl/StopSignals.h"
#include "marl/TerminalText.h"

#include <filesystem>
#include <ostream>
#include <span>

namespace marl::tool {
namespace {

/// One run of `marl index FOLDER…`.
class IndexRun {
public:
    IndexRun(const IndexOptions& options, CSearchEngine& engine, std::ostream& out, std::ostream& err)
        : m_options(options), m_out(out), m_err(err), m_passes(engine, out, err) {
        for (const std::string& folder : options.folders) m_roots.push_back(indexRootOf(folder));
        m_passes.setOptions({.isProgressShown = options.isProgressShown});
    }

    int indexOnce() {
        int status = kDone;
        for (const std::string& root : m_roots) {
            const PassEnd end = m_passes.run(root, m_options.rebuild);
            if (m_signals.received() != 0) return statusOfSignal(m_signals.received());
            if (end != PassEnd::kComplete) status = kFailed;
        }
        return flushed(m_out, m_err) ? status : kFailed;
    }

    int indexAndWatch() {
        // From before the first pass on, so that what changes during it is seen.
        FolderWatch watch(m_roots, CSearchEngine::getIndexDirectory(), m_options.timing);
        for (const std::string& root : m_roots)
            if (!passInWatch(watch, root, m_options.rebuild)) return kFailed;
        m_passes.setOptions({.isProgressShown = m_options.isProgressShown, .isQuiet = true});
        if (m_signals.received() == 0)
            m_err << "marl: watching " << counted(static_cast<long long>(m_roots.size()), "folder")
                  << std::endl;
        while (m_signals.received() == 0) {
            tellBlindTrees(watch);
            for (const std::string& root : watch.wait(m_signals.descriptor()))
                passInWatch(watch, root, false);
            if (!flushed(m_out, m_err)) return kFailed;
        }
        return kDone;
    }

private:
    /// False when the folder cannot be indexed.
    bool passInWatch(FolderWatch& watch, const std::string& root, bool isAnew) {
        if (m_signals.received() != 0) return true;
        const PassEnd end = m_passes.run(root, isAnew);
        if (end == PassEnd::kBusy) watch.remind(root);
        return end != PassEnd::kFailed;
    }

    void tellBlindTrees(FolderWatch& watch) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(m_options.timing.sweep);
        for (const PathProblem& problem : watch.takeBlindTrees())
            reportError(m_err, problem.path,
                        "note: looked through every " + counted(seconds.count(), "second") +
                            ", since changes cannot be told: " + problem.reason);
    }

    const IndexOptions& m_options;
    std::ostream& m_out;
    std::ostream& m_err;
    const StopSignals m_signals;
    IndexPasses m_passes;
    std::vector<std::string> m_roots;
};

/// In words for a user.
std::string stateOf(const CIndexFile& file) {
    const bool isBusy = file.isBeingUpdated();
    if (file.getState() == kIndexIsDamaged) return "damaged";
    if (!file.getEnabled()) return "switched off";
    if (file.getState() == kIndexIsComplete) return isBusy ? "being updated" : "complete";
    if (isBusy) return "being indexed";
    return file.getState() == kIndexIsNew ? "not indexed" : "incomplete";
}

constexpr TextTable::Column kListColumns[] = {
    {"files", 8, true}, {"state", 13, false}, {"index file", 42, false}};

}  // namespace

int runIndex(const IndexOptions& options, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexes(options.indexDirectory, err);
    if (!engine) return kFailed;
    for (const std::string& problem : engine->getFileIndexer().getDictionaryProblems())
        err << "marl: " << terminalText(problem) << "\n";
    IndexRun run(options, *engine, out, err);
    return options.watch ? run.indexAndWatch() : run.indexOnce();
}

int runIndexList(const std::string& indexDirectory, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexes(indexDirectory, err);
    if (!engine) return kFailed;
    const std::string directory = terminalText(CSearchEngine::getIndexDirectory());
    if (engine->indexFileCount() == 0) {
        out << "no folders are indexed in " << directory << "\n";
        return flushed(out, err) ? kDone : kFailed;
    }
    TextTable table(out, kListColumns, "folder");
    for (int i = 0; i < engine->indexFileCount(); ++i) {
        const CIndexFileRef file = engine->getIndexFile(i);
        const std::filesystem::path path = file->getFullPath()->getStringRef();
        table.addRow({std::to_string(file->getLivingFileCount()), stateOf(*file),
                      terminalText(path.filename().string())},
                     terminalText(file->getRootDirectory()));
    }
    out << counted(engine->indexFileCount(), "folder") << ", indexed in " << directory << "\n";
    return flushed(out, err) ? kDone : kFailed;
}

int runIndexRemove(const std::string& indexDirectory, const std::string& folder, std::ostream& out,
                   std::ostream& err) {
    const CSearchEngineRef engine = openIndexes(indexDirectory, err);
    if (!engine) return kFailed;
    const std::string root = indexRootOf(folder);
    try {
        const CIndexFileRef file = engine->findIndexFileForDirectory(root);
        if (!file) {
            reportError(err, root, "is not indexed");
            return kFailed;
        }
        engine->removeIndexFile(file);
        out << "removed the index of " << terminalText(root) << "\n";
        return flushed(out, err) ? kDone : kFailed;
    } catch (const std::exception& exception) {
        reportError(err, root, messageOf(exception, "its index cannot be removed"));
        return kFailed;
    }
}

}  // namespace marl::tool
